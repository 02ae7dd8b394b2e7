#include "tests/platform/TransferOutcome.h"

#include "platform/Folders.h"
#include "platform/base/MainQueue.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace test {

namespace {

struct Waiting {
    std::mutex mutex;
    std::condition_variable done;
    DataOutcome outcome;
};

std::string progressText(std::int64_t chunk, std::int64_t total, std::int64_t expected) {
    return "progress " + std::to_string(chunk) + " " + std::to_string(total) + " " + std::to_string(expected);
}

UrlSession::DownloadCallbacks recordingCallbacks(DownloadOutcome& outcome, bool& complete,
                                                 const std::function<void(const QString&)>& whenFinished) {
    UrlSession::DownloadCallbacks callbacks;
    callbacks.didWriteData = [&](std::int64_t chunk, std::int64_t total, std::int64_t expected) {
        outcome.allOnMainThread = outcome.allOnMainThread && MainQueue::isMainThread();
        outcome.events.push_back(progressText(chunk, total, expected));
    };
    callbacks.didFinishDownloading = [&](const UrlResponse& response, const QString& file) {
        outcome.allOnMainThread = outcome.allOnMainThread && MainQueue::isMainThread();
        outcome.events.emplace_back("finished");
        outcome.response = response;
        outcome.temporaryFile = file;
        outcome.contents = readFile(file);
        if (whenFinished) {
            whenFinished(file);
        }
    };
    callbacks.didComplete = [&](const std::optional<TransportError>& error) {
        outcome.allOnMainThread = outcome.allOnMainThread && MainQueue::isMainThread();
        outcome.error = error;
        outcome.events.push_back("complete " + std::to_string(outcome.errorCode()));
        complete = true;
    };
    return callbacks;
}

} // namespace

UrlRequest getRequest(const std::string& address) {
    UrlRequest request;
    request.address = Address::parse(QString::fromStdString(address));
    return request;
}

DataOutcome fetch(const UrlRequest& request, const TransferLimits& limits) {
    const auto waiting = std::make_shared<Waiting>();
    UrlSession::dataTask(
        request,
        [waiting](std::optional<QByteArray> data, std::optional<UrlResponse> response,
                  std::optional<TransportError> error) {
            const std::lock_guard lock(waiting->mutex);
            waiting->outcome = {waiting->outcome.calls + 1, std::this_thread::get_id(), std::move(data),
                                std::move(response), std::move(error)};
            waiting->done.notify_all();
        },
        limits);
    std::unique_lock lock(waiting->mutex);
    const auto finished = [&] { return waiting->outcome.calls > 0; };
    EXPECT_TRUE(waiting->done.wait_for(lock, std::chrono::minutes(1), finished));
    return waiting->outcome;
}

DataOutcome fetch(const std::string& address, const TransferLimits& limits) {
    return fetch(getRequest(address), limits);
}

DownloadOutcome download(const std::string& address, const TransferLimits& limits,
                         const std::function<void(const QString&)>& whenFinished) {
    DownloadOutcome outcome;
    bool complete = false;
    UrlSession::downloadTask(Address::parse(QString::fromStdString(address)),
                             recordingCallbacks(outcome, complete, whenFinished), limits);
    EXPECT_TRUE(waitFor([&] { return complete; }, std::chrono::minutes(1)));
    return outcome;
}

std::vector<std::string> DownloadOutcome::endings() const {
    std::vector<std::string> result;
    for (const auto& event : events) {
        if (!event.starts_with("progress")) {
            result.push_back(event);
        }
    }
    return result;
}

TransferLimits shortIdle() {
    TransferLimits limits;
    limits.idle = std::chrono::milliseconds(300);
    return limits;
}

QStringList temporaryFiles() {
    const std::optional<QString> folder = platform::temporaryDirectory();
    return folder ? QDir(*folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) : QStringList();
}

} // namespace test
