#pragma once

#include "platform/UrlSession.h"

#include <memory>

class PartialDownload;

// The end of a download, told on the main thread after everything that was handed over before. Any thread.
namespace DownloadDelivery {

// The answer is complete, and so is the file, which is deleted after the callback's return if it is still there.
void finish(const UrlSession::DownloadCallbacks& callbacks, const UrlResponse& response,
            std::shared_ptr<PartialDownload> file);

// The last call of all.
void complete(const UrlSession::DownloadCallbacks& callbacks, std::optional<TransportError> error);

} // namespace DownloadDelivery
