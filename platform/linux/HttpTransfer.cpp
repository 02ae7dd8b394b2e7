#include "platform/linux/HttpTransfer.h"

#include "platform/Reachability.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/SuggestedFilename.h"

#include <utility>

HttpTransfer::HttpTransfer(const UrlRequest& request, const TransferLimits& limits, std::int64_t mostBody,
                           const BodySink& sink)
    : request_(request), limits_(limits), sink_(sink), address_(request.address->text), method_(request.method),
      handle_(platform::makeCurlHandle()), clock_(limits.idle, limits.whole, std::chrono::steady_clock::now()),
      mostBody_(mostBody) {}

TransferResult HttpTransfer::run() {
    if (!handle_) {
        return TransportError{TransportError::kUnknown, address_};
    }
    headers_ = platform::headerLines(request_);
    platform::setCommonOptions(handle_.get(), limits_, headers_);
    connectCallbacks();
    for (long followed = 0;; ++followed) {
        platform::setHop(handle_.get(), address_, method_, request_.body);
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
    platform::setOption(handle_.get(), CURLOPT_WRITEFUNCTION, takeBody);
    platform::setOption(handle_.get(), CURLOPT_WRITEDATA, this);
    platform::setOption(handle_.get(), CURLOPT_HEADERFUNCTION, takeHeader);
    platform::setOption(handle_.get(), CURLOPT_HEADERDATA, this);
    platform::setOption(handle_.get(), CURLOPT_XFERINFOFUNCTION, takeProgress);
    platform::setOption(handle_.get(), CURLOPT_XFERINFODATA, this);
    platform::setOption(handle_.get(), CURLOPT_NOPROGRESS, 0L);
}

std::optional<TransportError::Code> HttpTransfer::performHop() {
    CURLcode code = performOnce();
    if (brokeBeforeAnAnswer(code)) {
        platform::setOption(handle_.get(), CURLOPT_FRESH_CONNECT, 1L);
        code = performOnce();
        platform::setOption(handle_.get(), CURLOPT_FRESH_CONNECT, 0L);
    }
    if (isDoneWithHop_) {
        return std::nullopt;
    }
    if (refusal_) {
        return refusal_;
    }
    // A connection that ends within the head is an empty answer to libcurl.
    if (code == CURLE_OK) {
        if (!headIsWhole_) {
            return TransportError::kConnectionLost;
        }
        return decoder_ && !decoder_->isWhole() ? std::optional(TransportError::kBadServerResponse) : std::nullopt;
    }
    if (clock_.hasExpired()) {
        return TransportError::kTimedOut;
    }
    long systemError = 0;
    platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_OS_ERRNO, &systemError);
    return platform::transportErrorCode(code, systemError, platform::defaultRouteIsReachable());
}

CURLcode HttpTransfer::performOnce() {
    headBytes_ = 0;
    bodyBytes_ = 0;
    headIsWhole_ = false;
    isDoneWithHop_ = false;
    bodyBegan_ = false;
    decoder_.reset();
    return platform::curlLibrary()->perform(handle_.get());
}

// A server may close a connection that it kept at the moment at which we use it again.
bool HttpTransfer::brokeBeforeAnAnswer(CURLcode code) const {
    long connects = 1;
    platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_NUM_CONNECTS, &connects);
    const bool broke = code == CURLE_GOT_NOTHING || code == CURLE_RECV_ERROR || code == CURLE_SEND_ERROR;
    return broke && connects == 0 && headBytes_ == 0;
}

std::optional<TransportError::Code> HttpTransfer::goOn(long followed) {
    if (followed >= limits_.redirects) {
        return TransportError::kTooManyRedirects;
    }
    const QString next = redirectTarget();
    if (!HttpRedirect::mayFollow(address_, next)) {
        return TransportError::kUnsupportedAddress;
    }
    method_ = HttpRedirect::methodAfter(status(), method_);
    address_ = next;
    return std::nullopt;
}

// The Location, seen from the present address. As it stands when it is no reference to an address (RFC 3986, 4.1).
QString HttpTransfer::redirectTarget() const {
    const CurlLibrary& curl = *platform::curlLibrary();
    const char* const location = header("Location");
    const CurlAddress address(curl.url());
    char* target = nullptr;
    if (address && curl.urlSet(address.get(), CURLUPART_URL, address_.toUtf8().constData(), 0) == CURLUE_OK &&
        curl.urlSet(address.get(), CURLUPART_URL, location, CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK) {
        curl.urlGet(address.get(), CURLUPART_URL, &target, 0);
    }
    const CurlText owned(target);
    return QString::fromUtf8(target ? target : location);
}

std::size_t HttpTransfer::takeBody(char* bytes, std::size_t one, std::size_t count, void* self) {
    const std::size_t size = one * count;
    return static_cast<HttpTransfer*>(self)->mayTakeBody({bytes, size}) ? size : 0;
}

bool HttpTransfer::mayTakeBody(std::string_view bytes) {
    if (!std::exchange(bodyBegan_, true)) {
        lookAtHead();
    }
    bodyBytes_ += static_cast<std::int64_t>(bytes.size());
    if (!bodyIsWanted_) {
        return true;
    }
    if (bodyBytes_ > mostBody_) {
        refusal_ = TransportError::kDataLengthExceedsMaximum;
    } else if (!decoder_) {
        takeDecoded(bytes);
    } else if (!decoder_->feed(bytes, [this](std::string_view decoded) { return takeDecoded(decoded); }) && !refusal_) {
        refusal_ = TransportError::kBadServerResponse;
    }
    return !refusal_;
}

bool HttpTransfer::takeDecoded(std::string_view bytes) {
    refusal_ = sink_(bytes, expectedLength_);
    return !refusal_;
}

void HttpTransfer::lookAtHead() {
    bodyIsWanted_ = !isRedirect();
    const char* const encoding = header("Content-Encoding");
    decoder_ = encoding ? ContentDecoder::forHeader(encoding) : nullptr;
    expectedLength_ = expectedLength();
}

std::size_t HttpTransfer::takeHeader(char* bytes, std::size_t one, std::size_t count, void* self) {
    const std::size_t size = one * count;
    return static_cast<HttpTransfer*>(self)->mayTakeHead({bytes, size}) ? size : 0;
}

bool HttpTransfer::mayTakeHead(std::string_view line) {
    const auto size = static_cast<std::int64_t>(line.size());
    headerBytes_ += size;
    headBytes_ += size;
    if (headBytes_ > limits_.head) {
        refusal_ = TransportError::kDataLengthExceedsMaximum;
        return false;
    }
    // Trailers come here too, after the body; an interim answer is followed by another head.
    if (line.starts_with("HTTP/")) {
        headIsWhole_ = false;
    } else if (line == "\r\n" || line == "\n") {
        headIsWhole_ = true;
        isDoneWithHop_ = isRedirect();
    }
    return !isDoneWithHop_ || bodyIsStatedToBeEmpty();
}

int HttpTransfer::takeProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
    auto& transfer = *static_cast<HttpTransfer*>(self);
    const auto now = std::chrono::steady_clock::now();
    return transfer.clock_.mayGoOn(transfer.headerBytes_ + received + sent, now) ? 0 : 1;
}

bool HttpTransfer::isRedirect() const {
    // libcurl leaves the end of the line in a value that is empty.
    return HttpRedirect::isRedirect(status()) && !QByteArray(header("Location")).trimmed().isEmpty();
}

long HttpTransfer::status() const {
    long status = 0;
    platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    return status;
}

const char* HttpTransfer::header(const char* name) const {
    curl_header* found = nullptr;
    constexpr int kOfLastRequest = -1;
    return platform::curlLibrary()->header(handle_.get(), name, 0, CURLH_HEADER, kOfLastRequest, &found) == CURLHE_OK
               ? found->value
               : nullptr;
}

// After such an answer the connection can be kept.
bool HttpTransfer::bodyIsStatedToBeEmpty() const {
    const char* const length = header("Content-Length");
    return length && std::string_view(length) == "0";
}

std::int64_t HttpTransfer::expectedLength() const {
    // The stated length is that of the encoded body.
    if (decoder_) {
        return -1;
    }
    curl_off_t length = -1;
    platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
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
