#pragma once

#include "platform/UrlSession.h"

#include <string>
#include <thread>
#include <vector>

// Runs one transfer to its end and keeps everything that its callbacks were given.
namespace test {

struct DataOutcome {
    int calls = 0;
    std::thread::id thread;
    std::optional<QByteArray> data;
    std::optional<UrlResponse> response;
    std::optional<TransportError> error;

    // 0 without an error.
    int errorCode() const { return error ? error->code : 0; }
};

// Blocks without turning the event loop; fails the test when nothing comes within a minute.
DataOutcome fetch(const UrlRequest& request, const TransferLimits& limits = {});
DataOutcome fetch(const std::string& address, const TransferLimits& limits = {});

struct DownloadOutcome {
    std::vector<std::string> events; // "progress CHUNK TOTAL EXPECTED", "finished", "complete CODE"
    bool allOnMainThread = true;
    UrlResponse response;
    QString temporaryFile;
    QByteArray contents; // of the temporary file while it existed
    std::optional<TransportError> error;

    int errorCode() const { return error ? error->code : 0; }
    // The events without the progress.
    std::vector<std::string> endings() const;
};

// Turns the event loop until the download is complete. `whenFinished` runs inside the finished-file callback.
DownloadOutcome download(const std::string& address, const TransferLimits& limits = {},
                         const std::function<void(const QString&)>& whenFinished = {});

UrlRequest getRequest(const std::string& address);

// Limits with which a transfer that stands still ends soon.
TransferLimits shortIdle();

// Names of the files in this user's temporary folder.
QStringList temporaryFiles();

} // namespace test
