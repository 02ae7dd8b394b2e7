#pragma once

#include "platform/UrlSession.h"
#include "platform/linux/CurlLibrary.h"

#include <memory>

// A libcurl transfer handle, and how this program sets it up.

struct CurlHandleFree {
    void operator()(CURL* handle) const { platform::curlLibrary()->cleanup(handle); }
    void operator()(curl_slist* list) const { platform::curlLibrary()->freeList(list); }
    void operator()(CURLU* address) const { platform::curlLibrary()->urlCleanup(address); }
    void operator()(char* text) const { platform::curlLibrary()->free(text); }
};
using CurlHandle = std::unique_ptr<CURL, CurlHandleFree>;
using CurlList = std::unique_ptr<curl_slist, CurlHandleFree>;
using CurlAddress = std::unique_ptr<CURLU, CurlHandleFree>;
using CurlText = std::unique_ptr<char, CurlHandleFree>;

namespace platform {

// Loads and prepares the library when it is first needed, which the program's start does not pay for. Any thread
// but the main one. Null when there is no library or no memory.
CurlHandle makeCurlHandle();

// `value` has exactly the type that the option's manual page names: the library cannot know what it was given.
template <typename Value>
void setOption(CURL* handle, CURLoption option, Value value) {
    curlLibrary()->setOption(handle, option, value);
}

// Header lines of a request, in order, after the encodings that ContentDecoder undoes, and without the Expect header
// that libcurl would add to a large body. A line end inside a value would make a second header of it and is left out.
// Only where makeCurlHandle() has given a handle.
CurlList headerLines(const UrlRequest& request);

// Everything that is the same for all hops: protocols, HTTP version, buffer, certificates, User-Agent.
// Proxies come from the environment, as the library has it. The lists must live as long as the handle is used.
void setCommonOptions(CURL* handle, const TransferLimits& limits, const CurlList& headers);

// The address and the method of one hop; the body goes along with a POST only, and must outlive the hop.
void setHop(CURL* handle, const QString& address, const QString& method, const QByteArray& body);

} // namespace platform
