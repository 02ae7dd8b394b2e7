#include "app/AppDelegate.h"

#include "app/exceptionHandler.h"
#include "config/QNConfigProvider.h"
#include "install/QNMainController.h"
#include "logging/LogContext.h"
#include "logging/QNAnalyticSender.h"
#include "logging/QNLogger.h"
#include "platform/AddressEvents.h"
#include "platform/Bundle.h"
#include "platform/DisplayLoss.h"
#include "platform/FileManager.h"
#include "platform/Folders.h"
#include "platform/RunningApplications.h"
#include "platform/UrlSession.h"
#include "platform/Volumes.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/UncaughtException.h"
#include "sysinfo/QNSystemInfo.h"
#include "ui/MainMenu.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QObject>

#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double kWindowCornerRadius = 8.0;
constexpr int kInvalidFileName = 514; // as published in <Foundation/FoundationErrors.h>

struct Analytics {
    std::mutex mutex;
    QStringList queue;
    std::optional<QString> url;
};

Analytics& analytics() {
    // Never destroyed: a request's thread may still post while the process ends.
    static auto* const slots = new Analytics;
    return *slots;
}

void appendToQueue(const QString& line) {
    const std::lock_guard lock(analytics().mutex);
    analytics().queue += line;
}

std::optional<QString> textOf(const NotificationObject& object) {
    const auto* const text = std::get_if<QString>(&object);
    return text ? std::optional(*text) : std::nullopt;
}

// The identifier comes from a file that anybody may have edited: only a plain name leads to a folder of our own.
std::optional<FileManager::Error> removeCache(const QString& cache, const std::optional<QString>& identifier) {
    const QString name = identifier.value_or(u"(null)"_s);
    if (name.isEmpty() || name == u"."_s || name == u".."_s || name.contains(u'/')) {
        return FileManager::Error{kInvalidFileName, u"The cache folder’s name is not a plain name."_s, cache};
    }
    return FileManager::removeItem(cache);
}

// As they were when this was first asked, which put this process on the list.
const std::vector<RunningApplication>& copiesAtLaunch() {
    static const auto running =
        RunningApplication::withBundleIdentifier(Bundle::mainBundle().bundleIdentifier().value_or(QString()));
    return running;
}

void postCrashInfoDialog(bool withOverlay) {
    NotificationCenter::defaultCenter().post(kShowCrashInfoDialog, QVariantMap{{u"withOverlay"_s, withOverlay}});
}

} // namespace

QStringList analyticsQueue() {
    const std::lock_guard lock(analytics().mutex);
    return analytics().queue;
}

std::optional<QString> analyticsUrl() {
    const std::lock_guard lock(analytics().mutex);
    return analytics().url;
}

AppDelegate::AppDelegate(MainInterface interface)
    : window_(std::move(interface.window)), mainMenu_(interface.mainMenu) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::setWindow(std::unique_ptr<Window> window) {
    window_ = std::move(window);
}

void AppDelegate::setMainController(std::unique_ptr<QNMainController> controller) {
    mainController_ = std::move(controller);
}

bool AppDelegate::isFirstCopy() {
    return copiesAtLaunch().size() < 2;
}

void AppDelegate::applicationWillFinishLaunching() {
    const auto& running = copiesAtLaunch();
    if (isFirstCopy()) {
        return;
    }
    // Index 1 is a fixed choice: the list is not searched for an entry other than our own.
    if (!running[1].isActive()) {
        running[1].activateAllWindows();
    }
    std::_Exit(0);
}

void AppDelegate::applicationDidFinishLaunching() {
    platform::setUncaughtExceptionHandler(exceptionHandler);
    const LogContext context = logContext("-[AppDelegate applicationDidFinishLaunching:]");
    const Bundle& bundle = Bundle::mainBundle();
    const QString cache = formatText("%@/Library/Caches/%@", platform::homeDirectory(), bundle.bundleIdentifier());
    QNLogger::debug(formatText("Removing app cache from %@ .", cache), context);
    if (const auto error = removeCache(cache, bundle.bundleIdentifier())) {
        QNLogger::debug(formatText("Failed to remove app cache from %@ .", cache), context);
        QNLogger::error(formatText("Error: %@", error->text()), context);
    } else {
        QNLogger::debug(formatText("Successfully removed app cache from %@ .", cache), context);
    }
    UrlSession::removeAbandonedDownloads(); // other copies are gone by now
    platform::letGoOfAbandonedVolumes();
    const std::optional<QString> name = QNConfigProvider::getStringFromPlist(u"kAPP_NAME"_s);
    QNLogger::debug(formatText("%@ start.", name), context);
    {
        const std::lock_guard lock(analytics().mutex);
        analytics().queue.clear();
    }
    NotificationCenter& center = NotificationCenter::defaultCenter();
    center.addObserver(kLogAnalytics, [this](const Notification& notification) { addAnalytics(notification); });
    center.addObserver(kChangeAnalyticsUrl,
                       [this](const Notification& notification) { changeAnalyticsUrl(notification); });
    platform::setOpenAddressHandler([this](const QString& address) { getUrl(address); });
    window_->setWindowTitle(name.value_or(QString())); // for the window list; the window itself has no title bar
    showWindow();
}

void AppDelegate::showWindow() {
    window_->center();
    mainController_ = std::make_unique<QNMainController>(u"QNMainController"_s, mainMenu_);
    window_->addSubview(mainController_->view());
    QObject::connect(window_.get(), &Window::closeRequested, mainController_.get(), &QNMainController::tapQuit);
    window_->setStyleMask(Window::kBorderless);
    window_->setMovableByWindowBackground(true);
    window_->setBackgroundColor(kClear);
    window_->setOpaque(false);
    window_->setHasShadow(true);
    window_->setCornerRadius(kWindowCornerRadius);
    window_->orderFrontRegardless();
}

void AppDelegate::applicationWillTerminate() {
    const QString message =
        QNAnalyticSender::getMessage(u"End"_s, {{u"SR"_s, eventValue(QNSystemInfo::getScreenResolution())},
                                                {u"Proc"_s, eventValue(QNSystemInfo::getCPUName())},
                                                {u"ProcType"_s, QNSystemInfo::getCPUType()}});
    appendToQueue(message);
    QNLogger::logEvent(message, logContext("-[AppDelegate applicationWillTerminate:]"));
    if (const std::optional<QString> url = analyticsUrl()) {
        // A window that cannot answer any more must not stay on the screen.
        if (!platform::displayIsLost()) {
            window_->orderOut();
        }
        QNAnalyticSender::sendAll(analyticsQueue(), Address::parse(*url));
    }
}

void AppDelegate::addAnalytics(const Notification& notification) {
    if (const std::optional<QString> line = textOf(notification.object)) {
        appendToQueue(*line);
    }
}

void AppDelegate::changeAnalyticsUrl(const Notification& notification) {
    const std::lock_guard lock(analytics().mutex);
    analytics().url = textOf(notification.object);
}

void AppDelegate::getUrl(const QString& address) {
    if (address == QNConfigProvider::getAction(u"crashInfo"_s)) {
        postCrashInfoDialog(true);
    } else if (address == QNConfigProvider::getAction(u"innerCrashInfo"_s)) {
        postCrashInfoDialog(false);
    }
}
