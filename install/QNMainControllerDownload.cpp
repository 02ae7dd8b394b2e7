#include "config/QNConfig.h"
#include "install/DownloadingStartDate.h"
#include "install/QNMainController.h"
#include "install/QNPreinstallCheck.h"
#include "logging/LogContext.h"
#include "logging/QNLogger.h"
#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/SystemExceptions.h"
#include "platform/UrlSession.h"
#include "platform/base/Format.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QVariantMap failure(const QString& url, const QString& reason) {
    return {{u"RSLT"_s, u"FAIL"_s}, {u"URL"_s, url}, {u"RSN"_s, reason}};
}

} // namespace

void QNMainController::startDownload() {
    constexpr auto kFunction = "-[QNMainController beginInstallation]";
    const QString url = config_->latestMacURL().value_or(QString());
    QNLogger::debug(formatText("Download started: %@", url), logContext(kFunction));
    setDownloadingStartDate(std::chrono::system_clock::now());
    try {
        UrlSession::DownloadCallbacks callbacks;
        callbacks.didWriteData = [this](auto bytes, auto total, auto expected) {
            URLSessionDownloadTaskDidWriteData(bytes, total, expected);
        };
        callbacks.didFinishDownloading = [this](const UrlResponse& response, const QString& location) {
            URLSessionDownloadTaskDidFinishDownloadingToURL(response, location);
        };
        callbacks.didComplete = [this](const std::optional<TransportError>& error) {
            URLSessionTaskDidCompleteWithError(error);
        };
        platform::translatingSystemExceptions(
            [&] { UrlSession::downloadTask(Address::parse(url), std::move(callbacks)); });
    } catch (const PlatformException& exception) {
        const QString reason = formatText("Download failed: %@ (error = %@)", url, exception);
        QNLogger::error(reason, logContext(kFunction));
        platform::consoleLog(formatText("Exception %@", exception));
        sendEvent(u"Download"_s, failure(url, reason));
        setViewHidden(false);
        showGenericError();
    }
}

void QNMainController::showNoInternet() {
    setViewHidden(false);
    showInfoAlertWithMessage(platform::localizedString(u"MessagePleaseTryLater"_s),
                             platform::localizedString(u"MessageNoInternetConnection"_s), imageNamed(u"no_internet"_s),
                             Retry{true}, Close{false}, ContactSupport{false}, StyledText(QString()));
}

void QNMainController::URLSessionDownloadTaskDidWriteData(std::int64_t, std::int64_t, std::int64_t) {
    // The window shows no progress of the transfer; macOS wants the method all the same.
}

void QNMainController::URLSessionTaskDidCompleteWithError(const std::optional<TransportError>& error) {
    constexpr auto kFunction = "-[QNMainController URLSession:task:didCompleteWithError:]";
    const QString url = config_->latestMacURL().value_or(QString());
    // What the error says does not count: a transfer failed for want of a connection exactly when there is none now.
    if (!QNPreinstallCheck::hasInternetConnection()) {
        QNLogger::showScreen(u"NoInternet"_s, logContext(kFunction));
        showNoInternet();
        sendEvent(u"Download"_s, failure(url, u"No internet connection"_s));
        return;
    }
    if (!error) {
        return;
    }
    QNLogger::error(formatText("Download failed: %@ (error = %@)", url, *error), logContext(kFunction));
    setViewHidden(false);
    showGenericError();
    sendEvent(u"Download"_s, failure(url, formatText("%@", *error)));
    platform::consoleLog(formatText("Error: %@", *error));
}
