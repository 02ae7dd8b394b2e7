#pragma once

#include "platform/base/TransferClock.h"
#include "platform/linux/BodySink.h"
#include "platform/linux/ContentDecoder.h"
#include "platform/linux/CurlHandle.h"

// One request over http or https with all its redirects, through libcurl. Blocks its thread until the end. The body of
// a redirect is not waited for: servers send worthless ones, cut short or never. Used once.
class HttpTransfer {
public:
    // `mostBody`: the bytes of a body, as they come over the wire, beyond which the transfer fails.
    HttpTransfer(const UrlRequest& request, const TransferLimits& limits, std::int64_t mostBody, const BodySink& sink);

    // Errors: those of platform/base/CurlErrors.h, kTimedOut and kDataLengthExceedsMaximum by the limits,
    // kUnsupportedAddress for an address or a redirect that may not be asked for, kBadServerResponse for a body whose
    // encoding is damaged, and what the sink returns.
    TransferResult run();

private:
    static std::size_t takeBody(char* bytes, std::size_t one, std::size_t count, void* self);
    static std::size_t takeHeader(char* bytes, std::size_t one, std::size_t count, void* self);
    static int takeProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);

    void connectCallbacks();
    std::optional<TransportError::Code> performHop();
    CURLcode performOnce();
    bool brokeBeforeAnAnswer(CURLcode code) const;
    bool mayTakeHead(std::string_view line);
    bool mayTakeBody(std::string_view bytes);
    bool takeDecoded(std::string_view bytes);
    std::optional<TransportError::Code> goOn(long followed);
    QString redirectTarget() const;
    bool isRedirect() const;
    long status() const;
    void lookAtHead();
    const char* header(const char* name) const;
    bool bodyIsStatedToBeEmpty() const;
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
    std::int64_t headerBytes_ = 0; // of all hops
    std::int64_t mostBody_;
    // Of the present hop.
    std::int64_t headBytes_ = 0;
    std::int64_t bodyBytes_ = 0;
    bool headIsWhole_ = false;
    bool isDoneWithHop_ = false; // a redirect, which needs no body
    bool bodyBegan_ = false;     // libcurl is not asked for each piece
    bool bodyIsWanted_ = false;
    std::int64_t expectedLength_ = -1;
    std::unique_ptr<ContentDecoder> decoder_;
    std::optional<TransportError::Code> refusal_; // by a limit, the decoder or the sink
};
