#include "platform/DownloadDelivery.h"

#include "platform/PartialDownload.h"
#include "platform/base/MainQueue.h"

#include <utility>

namespace DownloadDelivery {

void finish(const UrlSession::DownloadCallbacks& callbacks, const UrlResponse& response,
            std::shared_ptr<PartialDownload> file) {
    MainQueue::async([callbacks, response, file = std::move(file)]() mutable {
        if (callbacks.didFinishDownloading) {
            callbacks.didFinishDownloading(response, file->path());
        }
        file.reset(); // deletes the file if it is still there
    });
}

void complete(const UrlSession::DownloadCallbacks& callbacks, std::optional<TransportError> error) {
    MainQueue::async([callbacks, error = std::move(error)] {
        if (callbacks.didComplete) {
            callbacks.didComplete(error);
        }
    });
}

} // namespace DownloadDelivery
