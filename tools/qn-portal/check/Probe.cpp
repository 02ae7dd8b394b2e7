#include "tools/qn-portal/check/Probe.h"

#include "platform/Reachability.h"
#include "platform/base/CurlErrors.h"
#include "platform/base/HttpRedirect.h"
#include "platform/base/TransferClock.h"
#include "platform/linux/CurlHandle.h"

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

using Clock = std::chrono::steady_clock;

class Transfer {
public:
    explicit Transfer(const ProbeRequest& request)
        : request_(request), handle_(makeCurlHandle()), clock_(limits_.idle, request.limit, Clock::now()) {}

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
        const CurlList headers = headerLines(fields);
        setCommonOptions(handle_.get(), limits_, headers);
        connectCallbacks();
        address_ = request_.address;
        QString method = request_.method;
        for (long followed = 0;; ++followed) {
            setHop(handle_.get(), address_, method, request_.body);
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
        setOption(handle_.get(), CURLOPT_WRITEFUNCTION, takeBody);
        setOption(handle_.get(), CURLOPT_WRITEDATA, this);
        setOption(handle_.get(), CURLOPT_HEADERFUNCTION, takeHeader);
        setOption(handle_.get(), CURLOPT_HEADERDATA, this);
        setOption(handle_.get(), CURLOPT_XFERINFOFUNCTION, takeProgress);
        setOption(handle_.get(), CURLOPT_XFERINFODATA, this);
        setOption(handle_.get(), CURLOPT_NOPROGRESS, 0L);
    }

    std::optional<TransportError::Code> performHop() {
        answer_.body.clear();
        const CURLcode code = curlLibrary()->perform(handle_.get());
        long status = 0;
        curlLibrary()->getInfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
        answer_.hops.back().status = static_cast<int>(status);
        curl_off_t received = 0;
        curlLibrary()->getInfo(handle_.get(), CURLINFO_SIZE_DOWNLOAD_T, &received);
        answer_.received = received;
        if (status == 0) {
            answer_.hops.pop_back(); // nobody answered
        }
        if (code == CURLE_OK) {
            return status == 0 ? std::optional(TransportError::kConnectionLost) : std::nullopt;
        }
        if (isTooMuch_) {
            return TransportError::kDataLengthExceedsMaximum;
        }
        if (clock_.hasExpired()) {
            return TransportError::kTimedOut;
        }
        long systemError = 0;
        curlLibrary()->getInfo(handle_.get(), CURLINFO_OS_ERRNO, &systemError);
        return transportErrorCode(code, systemError, platform::defaultRouteIsReachable());
    }

    QString redirectTarget() const {
        const char* target = nullptr;
        curlLibrary()->getInfo(handle_.get(), CURLINFO_REDIRECT_URL, &target);
        return QString::fromUtf8(target);
    }

    static std::size_t takeBody(char* bytes, std::size_t one, std::size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const std::size_t size = one * count;
        long status = 0;
        curlLibrary()->getInfo(transfer.handle_.get(), CURLINFO_RESPONSE_CODE, &status);
        if (HttpRedirect::isRedirect(status)) {
            return size;
        }
        return transfer.take(bytes, size) ? size : 0;
    }

    bool take(const char* bytes, std::size_t size) {
        if (request_.sink) {
            return request_.sink(bytes, size);
        }
        isTooMuch_ = answer_.body.size() + static_cast<qsizetype>(size) > limits_.data;
        if (!isTooMuch_) {
            answer_.body.append(bytes, static_cast<qsizetype>(size));
        }
        return !isTooMuch_;
    }

    static std::size_t takeHeader(char* bytes, std::size_t one, std::size_t count, void* self) {
        auto& transfer = *static_cast<Transfer*>(self);
        const QByteArray line(bytes, static_cast<qsizetype>(one * count));
        transfer.headerBytes_ += line.size();
        ProbeHop& hop = transfer.answer_.hops.back();
        if (line.startsWith("HTTP/")) {
            hop.headers.clear(); // an interim answer came before
        } else if (const qsizetype colon = line.indexOf(':'); colon > 0) {
            hop.headers.emplace_back(line.left(colon), line.mid(colon + 1).trimmed());
        }
        return one * count;
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
    std::int64_t headerBytes_ = 0;
    bool isTooMuch_ = false;
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
