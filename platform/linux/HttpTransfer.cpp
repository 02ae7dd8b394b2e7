#include "platform/linux/HttpTransfer.h"

#include "platform/Reachability.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/SuggestedFilename.h"

#include <utility>

HttpTransfer::HttpTransfer(const UrlRequest& request, const TransferLimits& limits, const BodySink& sink)
    : request_(request), limits_(limits), sink_(sink), address_(request.address->text), method_(request.method),
      handle_(makeCurlHandle()), clock_(limits.idle, limits.whole, std::chrono::steady_clock::now()) {}

TransferResult HttpTransfer::run() {
    if (!handle_) {
        return TransportError{TransportError::kUnknown, address_};
    }
    headers_ = headerLines(request_);
    setCommonOptions(handle_.get(), limits_, headers_);
    connectCallbacks();
    for (long followed = 0;; ++followed) {
        setHop(handle_.get(), address_, method_, request_.body);
        if (const auto failure = performHop()) {
            return TransportError{*failure, address_};
        }
        if (!isRedirect()) {
            return response();
        }
        if (const auto failure = goOn(followed)) {
            return TransportError{*failure, address_};
        }
    }
}

void HttpTransfer::connectCallbacks() {
    setOption(handle_.get(), CURLOPT_WRITEFUNCTION, takeBody);
    setOption(handle_.get(), CURLOPT_WRITEDATA, this);
    setOption(handle_.get(), CURLOPT_HEADERFUNCTION, takeHeader);
    setOption(handle_.get(), CURLOPT_HEADERDATA, this);
    setOption(handle_.get(), CURLOPT_XFERINFOFUNCTION, takeProgress);
    setOption(handle_.get(), CURLOPT_XFERINFODATA, this);
    setOption(handle_.get(), CURLOPT_NOPROGRESS, 0L);
}

std::optional<TransportError::Code> HttpTransfer::performHop() {
    headIsWhole_ = false;
    bodyBegan_ = false;
    const CURLcode code = curlLibrary()->perform(handle_.get());
    // A connection that ends within the head is an empty answer to the library.
    if (code == CURLE_OK) {
        return headIsWhole_ ? std::nullopt : std::optional(TransportError::kConnectionLost);
    }
    if (refusal_) {
        return refusal_;
    }
    if (clock_.hasExpired()) {
        return TransportError::kTimedOut;
    }
    long systemError = 0;
    curlLibrary()->getInfo(handle_.get(), CURLINFO_OS_ERRNO, &systemError);
    return transportErrorCode(code, systemError, platform::defaultRouteIsReachable());
}

std::optional<TransportError::Code> HttpTransfer::goOn(long followed) {
    if (followed >= limits_.redirects) {
        return TransportError::kTooManyRedirects;
    }
    const char* target = nullptr;
    curlLibrary()->getInfo(handle_.get(), CURLINFO_REDIRECT_URL, &target);
    const QString next = QString::fromUtf8(target);
    if (!HttpRedirect::mayFollow(address_, next)) {
        return TransportError::kUnsupportedAddress;
    }
    method_ = HttpRedirect::methodAfter(status(), method_);
    address_ = next;
    return std::nullopt;
}

std::size_t HttpTransfer::takeBody(char* bytes, std::size_t one, std::size_t count, void* self) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const std::size_t size = one * count;
    if (!std::exchange(transfer.bodyBegan_, true)) {
        transfer.lookAtHead();
    }
    if (!transfer.bodyIsWanted_) {
        return size;
    }
    transfer.refusal_ = transfer.sink_({bytes, size}, transfer.expectedLength_);
    return transfer.refusal_ ? 0 : size;
}

void HttpTransfer::lookAtHead() {
    bodyIsWanted_ = !isRedirect();
    expectedLength_ = expectedLength();
}

std::size_t HttpTransfer::takeHeader(char* bytes, std::size_t one, std::size_t count, void* self) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const std::string_view line(bytes, one * count);
    transfer.headerBytes_ += static_cast<std::int64_t>(line.size());
    // Trailers come here too, after the body; an interim answer is followed by another head.
    if (line.starts_with("HTTP/")) {
        transfer.headIsWhole_ = false;
    } else if (line == "\r\n" || line == "\n") {
        transfer.headIsWhole_ = true;
    }
    return line.size();
}

int HttpTransfer::takeProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const auto now = std::chrono::steady_clock::now();
    return transfer.clock_.mayGoOn(transfer.headerBytes_ + received + sent, now) ? 0 : 1;
}

bool HttpTransfer::isRedirect() const {
    const char* const location = header("Location");
    return HttpRedirect::isRedirect(status()) && location && *location != '\0';
}

long HttpTransfer::status() const {
    long status = 0;
    curlLibrary()->getInfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

const char* HttpTransfer::header(const char* name) const {
    curl_header* found = nullptr;
    constexpr int kOfLastRequest = -1;
    return curlLibrary()->header(handle_.get(), name, 0, CURLH_HEADER, kOfLastRequest, &found) == CURLHE_OK
               ? found->value
               : nullptr;
}

std::int64_t HttpTransfer::expectedLength() const {
    // The stated length is that of the encoded body.
    if (header("Content-Encoding")) {
        return -1;
    }
    curl_off_t length = -1;
    curlLibrary()->getInfo(handle_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    return length;
}

UrlResponse HttpTransfer::response() const {
    const char* const disposition = header("Content-Disposition");
    UrlResponse response;
    response.address = address_;
    response.isHttp = true;
    response.statusCode = static_cast<int>(status());
    response.suggestedFilename =
        SuggestedFilename::of(disposition ? std::optional(QByteArray(disposition)) : std::nullopt, address_,
                              QString::fromUtf8(header("Content-Type")));
    return response;
}
