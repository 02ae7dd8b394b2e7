#pragma once

#include "platform/base/TransferClock.h"
#include "platform/linux/BodySink.h"
#include "platform/linux/CurlHandle.h"

// One request over http or https with all its redirects, through libcurl. Blocks its thread until the end. The body of
// a redirect is thrown away. Used once.
class HttpTransfer {
public:
    HttpTransfer(const UrlRequest& request, const TransferLimits& limits, const BodySink& sink);

    // Errors: those of platform/base/CurlErrors.h, kTimedOut by the limits, kUnsupportedAddress for an address or a
    // redirect that may not be asked for, and what the sink returns.
    TransferResult run();

private:
    static std::size_t takeBody(char* bytes, std::size_t one, std::size_t count, void* self);
    static std::size_t takeHeader(char* bytes, std::size_t one, std::size_t count, void* self);
    static int takeProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);

    void connectCallbacks();
    std::optional<TransportError::Code> performHop();
    std::optional<TransportError::Code> goOn(long followed);
    bool isRedirect() const;
    long status() const;
    void lookAtHead();
    const char* header(const char* name) const;
    std::int64_t expectedLength() const;
    UrlResponse response() const;

    const UrlRequest& request_;
    const TransferLimits& limits_;
    const BodySink& sink_;
    QString address_;
    QString method_;
    CurlHandle handle_;
    CurlList headers_;
    TransferClock clock_;
    std::int64_t headerBytes_ = 0;
    bool headIsWhole_ = false;
    // Of the present hop, from its first piece of body on: libcurl is not asked for each piece.
    bool bodyBegan_ = false;
    bool bodyIsWanted_ = false;
    std::int64_t expectedLength_ = -1;
    std::optional<TransportError::Code> refusal_; // of the sink
};
