#pragma once

#include <curl/curl.h>

// What is used of libcurl. It is loaded with the first request, once the window shows, and not with the program: it
// brings thirty libraries along, whose symbols would take a tenth of the time until then. It stays loaded. A program
// with static libraries has it linked.
struct CurlLibrary {
    decltype(&curl_global_init) globalInit = nullptr;
    decltype(&curl_easy_init) init = nullptr;
    decltype(&curl_easy_cleanup) cleanup = nullptr;
    decltype(&curl_easy_setopt) setOption = nullptr;
    decltype(&curl_easy_getinfo) getInfo = nullptr;
    decltype(&curl_easy_perform) perform = nullptr;
    decltype(&curl_easy_header) header = nullptr;
    decltype(&curl_slist_append) append = nullptr;
    decltype(&curl_slist_free_all) freeList = nullptr;
    decltype(&curl_url) url = nullptr;
    decltype(&curl_url_cleanup) urlCleanup = nullptr;
    decltype(&curl_url_get) urlGet = nullptr;
    decltype(&curl_url_set) urlSet = nullptr;
    decltype(&curl_free) free = nullptr;
};

namespace platform {

// Any thread but the main one: the first call waits for the first frame. Null when the system has no such library, or
// too old a one; the console then says so, once.
const CurlLibrary* curlLibrary();

} // namespace platform
