#include "tools/qn-portal/check/Probe.h"

#include "platform/Reachability.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/TransferClock.h"
#include "platform/linux/ContentDecoder.h"
#include "platform/linux/CurlHandle.h"

#include <memory>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

using Clock = std::chrono::steady_clock;

class Transfer {
public:
    explicit Transfer(const ProbeRequest& request)
        : request_(request), handle_(platform::makeCurlHandle()), clock_(request.idle, request.limit, Clock::now()) {}

    ProbeAnswer run() {
        const auto begin = Clock::now();
        const auto code = handle_ ? follow() : std::optional(TransportError::kUnknown);
        if (code) {
            answer_.failure = TransportError{*code, address_};
        }
        answer_.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        return std::move(answer_);
    }

private:
    std::optional<TransportError::Code> follow() {
        UrlRequest fields;
        fields.headers = request_.headers;
        const CurlList headers = platform::headerLines(fields);
        platform::setCommonOptions(handle_.get(), limits_, headers);
        connectCallbacks();
        address_ = request_.address;
        QString method = request_.method;
        for (long followed = 0;; ++followed) {
            platform::setHop(handle_.get(), address_, method, request_.body);
            answer_.hops.push_back({address_, 0, {}});
            if (const auto failure = performHop()) {
                return failure;
            }
            const ProbeHop& hop = answer_.hops.back();
            const QString next = redirectTarget();
            if (!HttpRedirect::isRedirect(hop.status) || next.isEmpty()) {
                return std::nullopt;
            }
            if (followed >= limits_.redirects) {
                return TransportError::kTooManyRedirects;
            }
            if (!HttpRedirect::mayFollow(address_, next)) {
                answer_.refusedRedirect = next;
                return TransportError::kUnsupportedAddress;
            }
            method = HttpRedirect::methodAfter(hop.status, method);
            address_ = next;
        }
    }

    void connectCallbacks() {
        platform::setOption(handle_.get(), CURLOPT_WRITEFUNCTION, takeBody);
        platform::setOption(handle_.get(), CURLOPT_WRITEDATA, this);
        platform::setOption(handle_.get(), CURLOPT_HEADERFUNCTION, takeHeader);
        platform::setOption(handle_.get(), CURLOPT_HEADERDATA, this);
        platform::setOption(handle_.get(), CURLOPT_XFERINFOFUNCTION, takeProgress);
        platform::setOption(handle_.get(), CURLOPT_XFERINFODATA, this);
        platform::setOption(handle_.get(), CURLOPT_NOPROGRESS, 0L);
    }

    std::optional<TransportError::Code> performHop() {
        answer_.body.clear();
        decoder_.reset();
        bodyBegan_ = headIsWhole_ = false;
        headBytes_ = answer_.received = 0;
        const CURLcode code = platform::curlLibrary()->perform(handle_.get());
        answer_.hops.back().status = static_cast<int>(status());
        if (!headIsWhole_) {
            answer_.hops.pop_back(); // nobody answered
        }
        if (refusal_) {
            return refusal_;
        }
        if (code == CURLE_OK) {
            return !headIsWhole_                      ? std::optional(TransportError::kConnectionLost)
                   : decoder_ && !decoder_->isWhole() ? std::optional(TransportError::kBadServerResponse)
                                                      : std::nullopt;
        }
        if (clock_.hasExpired()) {
            return TransportError::kTimedOut;
        }
        // The body of a redirect does not count.
        if (headIsWhole_ && HttpRedirect::isRedirect(status()) && !redirectTarget().isEmpty()) {
            return std::nullopt;
        }
        long systemError = 0;
        platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_OS_ERRNO, &systemError);
        return platform::transportErrorCode(code, systemError, platform::defaultRouteIsReachable());
    }

    long status() const {
        long status = 0;
        platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
        return status;
    }

    QString redirectTarget() const {
        const char* target = nullptr;
        platform::curlLibrary()->getInfo(handle_.get(), CURLINFO_REDIRECT_URL, &target);
        return QString::fromUtf8(target);
    }

    static std::size_t takeBody(char* bytes, std::size_t one, std::size_t count, void* self) {
        const std::size_t size = one * count;
        return static_cast<Transfer*>(self)->takeEncoded({bytes, size}) ? size : 0;
    }

    bool takeEncoded(std::string_view bytes) {
        answer_.received += static_cast<std::int64_t>(bytes.size());
        if (HttpRedirect::isRedirect(status())) {
            return true;
        }
        if (!std::exchange(bodyBegan_, true)) {
            const auto encoding = answer_.hops.back().header("Content-Encoding");
            decoder_ = encoding ? ContentDecoder::forHeader(encoding->toStdString()) : nullptr;
        }
        if (!decoder_) {
            return take(bytes);
        }
        if (!decoder_->feed(bytes, [this](std::string_view decoded) { return take(decoded); }) && !refusal_) {
            refusal_ = TransportError::kBadServerResponse;
        }
        return !refusal_;
    }

    bool take(std::string_view bytes) {
        if (request_.sink) {
            if (!request_.sink(bytes.data(), bytes.size())) {
                refusal_ = TransportError::kCannotWriteFile;
            }
        } else if (answer_.body.size() + static_cast<qsizetype>(bytes.size()) > limits_.data) {
            refusal_ = TransportError::kDataLengthExceedsMaximum;
        } else {
            answer_.body.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
        }
        return !refusal_;
    }

    static std::size_t takeHeader(char* bytes, std::size_t one, std::size_t count, void* self) {
        const std::size_t size = one * count;
        return static_cast<Transfer*>(self)->takeHead(QByteArray(bytes, static_cast<qsizetype>(size))) ? size : 0;
    }

    bool takeHead(const QByteArray& line) {
        headerBytes_ += line.size();
        headBytes_ += line.size();
        if (headBytes_ > limits_.head) {
            refusal_ = TransportError::kDataLengthExceedsMaximum;
            return false;
        }
        ProbeHop& hop = answer_.hops.back();
        if (line.startsWith("HTTP/")) {
            hop.headers.clear(); // an interim answer came before
            headIsWhole_ = false;
        } else if (line == "\r\n" || line == "\n") {
            headIsWhole_ = true;
        } else if (const qsizetype colon = line.indexOf(':'); colon > 0) {
            hop.headers.emplace_back(line.left(colon), line.mid(colon + 1).trimmed());
        }
        return true;
    }

    static int takeProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        auto& transfer = *static_cast<Transfer*>(self);
        return transfer.clock_.mayGoOn(transfer.headerBytes_ + received + sent, Clock::now()) ? 0 : 1;
    }

    const ProbeRequest& request_;
    TransferLimits limits_;
    CurlHandle handle_;
    TransferClock clock_;
    QString address_;
    ProbeAnswer answer_;
    std::unique_ptr<ContentDecoder> decoder_;
    std::int64_t headerBytes_ = 0; // of all hops
    std::int64_t headBytes_ = 0;   // of the present one
    bool headIsWhole_ = false;
    bool bodyBegan_ = false;
    std::optional<TransportError::Code> refusal_;
};

} // namespace

std::optional<QByteArray> ProbeHop::header(const QByteArray& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

ProbeAnswer probe(const ProbeRequest& request) {
    return Transfer(request).run();
}

} // namespace portal::check
