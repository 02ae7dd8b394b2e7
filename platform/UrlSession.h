#pragma once

#include "platform/base/Address.h"
#include "platform/base/TransportError.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

// Transfers over http, https and file. Each request has a worker thread of its own.
//
// Only a transfer without an answer is an error: an answer with any status is delivered with that status. Redirects are
// followed as soon as their head is there, none from https to http. On Linux nothing is kept: no cache, cookies or
// credentials. On macOS that holds for downloads; data tasks belong to the system's shared session, which is what the
// servers are asked through, with the cache, the cookies and the credentials that it keeps for this program.
// macOS itself refuses http, but to the local network (NSAppTransportSecurity in Info.plist): code -1022.
// Content encodings are undone; a body in one that is not known is handed on as it came. A body that breaks off within
// its encoding, and an answer beyond the limits, are errors.

struct UrlRequest {
    std::optional<Address> address; // absent: the transfer fails with kUnsupportedAddress
    QString method = QString::fromLatin1("GET");
    std::vector<std::pair<QString, QString>> headers; // sent in this order
    QByteArray body;
};

struct UrlResponse {
    QString address; // of the last hop
    bool isHttp = false;
    int statusCode = 0; // of an HTTP response
    QString suggestedFilename;
};

// What bounds a transfer. The program uses the values given here.
struct TransferLimits {
    std::chrono::milliseconds idle = std::chrono::seconds(60);    // without a byte, connecting included
    std::chrono::milliseconds whole = std::chrono::hours(24 * 7); // from start to end
    long redirects = 16;
    long receiveBuffer = 512L * 1024;                  // bytes
    std::int64_t head = std::int64_t{300} * 1024;      // bytes of an answer's headers and trailers together
    std::int64_t data = std::int64_t{4} * 1024 * 1024; // bytes of a data task's answer, before and after decoding
};

namespace UrlSession {

// Exactly one of the error and the response with its data is there; data may be present and empty.
using DataCompletion =
    std::function<void(std::optional<QByteArray>, std::optional<UrlResponse>, std::optional<TransportError>)>;

// Through the shared session. Returns at once; `completion` runs exactly once, on the request's own thread.
// Throws PlatformException when no thread can be started.
void dataTask(UrlRequest request, DataCompletion completion, const TransferLimits& limits = {});

// All three run on the main thread, one at a time, in the order progress…, finished, complete.
struct DownloadCallbacks {
    // Bytes of this chunk, bytes so far, bytes expected (-1 when unknown). At most one call is pending at any time:
    // chunks that arrive meanwhile are added up.
    std::function<void(std::int64_t, std::int64_t, std::int64_t)> didWriteData;
    // Once for each completed answer, whatever its status. The file lies in the temporary folder and is deleted after
    // the return if it is still there.
    std::function<void(const UrlResponse&, const QString& temporaryFile)> didFinishDownloading;
    // Exactly once, last; also alone, when the transfer failed.
    std::function<void(std::optional<TransportError>)> didComplete;
};

// An ephemeral session with one task: the body goes straight to CFNetworkDownload_XXXXXX.tmp in the temporary folder.
// Returns at once. Throws PlatformException when no thread can be started.
void downloadTask(std::optional<Address> address, DownloadCallbacks callbacks, const TransferLimits& limits = {});

// Deletes partial files that an earlier process with this bundle identifier left behind because it was killed; those
// that somebody still writes stay, and so does everything else. Any thread, when no other copy of the program runs.
void removeAbandonedDownloads();

// Deletes the partial files of all downloads that still run. Called when the process ends.
void removePartialDownloads();

} // namespace UrlSession
