#include "platform/UrlSession.h"

#include "platform/DownloadDelivery.h"
#include "platform/DownloadProgress.h"
#include "platform/PartialDownload.h"
#include "platform/base/PlatformException.h"
#include "platform/base/TransferRequest.h"
#include "platform/base/UncaughtException.h"
#include "platform/linux/FileTransfer.h"
#include "platform/linux/HttpTransfer.h"

#include <pthread.h>

#include <csignal>
#include <limits>
#include <system_error>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

void blockBrokenPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

// Nobody waits for the thread: the process ends while transfers run.
void startThread(std::function<void()> body) {
    try {
        std::thread([body = std::move(body)] {
            blockBrokenPipeSignal();
            platform::reportingUncaughtExceptions(body);
        }).detach();
    } catch (const std::system_error& error) {
        throw PlatformException(u"NSGenericException"_s,
                                u"a thread could not be started: "_s + QString::fromUtf8(error.what()));
    }
}

TransferResult transfer(const UrlRequest& request, const TransferLimits& limits, std::int64_t mostBody,
                        const BodySink& sink) {
    const std::optional<Address>& address = request.address;
    if (!address) {
        return TransportError{TransportError::kUnsupportedAddress, {}};
    }
    if (!TransferRequest::canBeAskedFor(*address)) {
        return TransportError{TransportError::kUnsupportedAddress, address->text};
    }
    if (address->scheme->toLower() == u"file"_s) {
        return platform::transferFile(address->text, limits.receiveBuffer, sink);
    }
    return HttpTransfer(request, limits, mostBody, sink).run();
}

void runDataTask(const UrlRequest& request, const UrlSession::DataCompletion& completion,
                 const TransferLimits& limits) {
    QByteArray data("");
    const BodySink sink = [&](std::string_view bytes, std::int64_t) -> std::optional<TransportError::Code> {
        if (static_cast<std::int64_t>(bytes.size()) > limits.data - data.size()) {
            return TransportError::kDataLengthExceedsMaximum;
        }
        data.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
        return std::nullopt;
    };
    const TransferResult result = transfer(request, limits, limits.data, sink);
    if (const auto* const error = std::get_if<TransportError>(&result)) {
        completion(std::nullopt, std::nullopt, *error);
    } else {
        completion(data, std::get<UrlResponse>(result), std::nullopt);
    }
}

// The transfer into `file`; an error also when the system loses bytes at closing.
TransferResult fillFile(const UrlRequest& request, const TransferLimits& limits, PartialDownload& file,
                        DownloadProgress& progress) {
    const BodySink sink = [&](std::string_view bytes, std::int64_t expected) -> std::optional<TransportError::Code> {
        if (!file.write(bytes)) {
            return TransportError::kCannotWriteFile;
        }
        progress.add(static_cast<std::int64_t>(bytes.size()), expected);
        return std::nullopt;
    };
    TransferResult result = transfer(request, limits, std::numeric_limits<std::int64_t>::max(), sink);
    if (!file.close() && std::holds_alternative<UrlResponse>(result)) {
        return TransportError{TransportError::kCannotWriteFile, request.address->text};
    }
    return result;
}

void runDownloadTask(const UrlRequest& request, const UrlSession::DownloadCallbacks& callbacks,
                     const TransferLimits& limits) {
    std::shared_ptr<PartialDownload> file = PartialDownload::create();
    if (!file) {
        const QString address = request.address ? request.address->text : QString();
        DownloadDelivery::complete(callbacks, TransportError{TransportError::kCannotCreateFile, address});
        return;
    }
    const auto progress = std::make_shared<DownloadProgress>(callbacks.didWriteData);
    const TransferResult result = fillFile(request, limits, *file, *progress);
    progress->flush();
    if (const auto* const error = std::get_if<TransportError>(&result)) {
        file.reset();
        DownloadDelivery::complete(callbacks, *error);
        return;
    }
    DownloadDelivery::finish(callbacks, std::get<UrlResponse>(result), std::move(file));
    DownloadDelivery::complete(callbacks, std::nullopt);
}

} // namespace

namespace UrlSession {

void dataTask(UrlRequest request, DataCompletion completion, const TransferLimits& limits) {
    startThread([request = std::move(request), completion = std::move(completion), limits] {
        runDataTask(request, completion, limits);
    });
}

void downloadTask(std::optional<Address> address, DownloadCallbacks callbacks, const TransferLimits& limits) {
    UrlRequest request;
    request.address = std::move(address);
    startThread([request = std::move(request), callbacks = std::move(callbacks), limits] {
        runDownloadTask(request, callbacks, limits);
    });
}

void removeAbandonedDownloads() {
    PartialDownload::removeAbandoned();
}

void removePartialDownloads() {
    PartialDownload::removeAll();
}

} // namespace UrlSession
