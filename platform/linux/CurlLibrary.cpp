#include "platform/linux/CurlLibrary.h"

#include "platform/Console.h"
#include "platform/base/FirstFrame.h"
#include "platform/base/Format.h"

#include <QString>

#include <dlfcn.h>

#include <optional>

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

// The loader's lock would keep the main thread from its first frame, and some thirty libraries take a while.
std::optional<CurlLibrary> load() {
    static_cast<void>(platform::waitForFirstFrame());
    void* const library = dlopen("libcurl.so.4", RTLD_NOW | RTLD_LOCAL);
    CurlLibrary curl;
    if (library && find(library, "curl_global_init", curl.globalInit) && find(library, "curl_easy_init", curl.init) &&
        find(library, "curl_easy_cleanup", curl.cleanup) && find(library, "curl_easy_setopt", curl.setOption) &&
        find(library, "curl_easy_getinfo", curl.getInfo) && find(library, "curl_easy_perform", curl.perform) &&
        find(library, "curl_easy_header", curl.header) && find(library, "curl_slist_append", curl.append) &&
        find(library, "curl_slist_free_all", curl.freeList) && find(library, "curl_url", curl.url) &&
        find(library, "curl_url_cleanup", curl.urlCleanup) && find(library, "curl_url_get", curl.urlGet) &&
        find(library, "curl_url_set", curl.urlSet) && find(library, "curl_free", curl.free)) {
        return curl;
    }
    platform::consoleLog(formatText("Nothing can be requested: %@", QString::fromLocal8Bit(dlerror())));
    return std::nullopt;
}

} // namespace

namespace platform {

const CurlLibrary* curlLibrary() {
    static const std::optional<CurlLibrary> kLibrary = load();
    return kLibrary ? &*kLibrary : nullptr;
}

} // namespace platform
