#include "install/QNMainController.h"

#include "config/QNConfig.h"
#include "config/QNConfigProvider.h"
#include "install/BlockingWait.h"
#include "install/DownloadingStartDate.h"
#include "install/QNPreinstallCheck.h"
#include "logging/LogContext.h"
#include "logging/QNAnalyticSender.h"
#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/FileManager.h"
#include "platform/Folders.h"
#include "platform/Termination.h"
#include "platform/Workspace.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "sysinfo/QNSystemInfo.h"
#include "ui/Button.h"
#include "ui/MainMenu.h"
#include "ui/QNButton.h"
#include "ui/QNErrorController.h"
#include "ui/View.h"

using namespace Qt::StringLiterals;

namespace {

// The console line tells of a refusal; nothing else does, and the run goes on.
void openOrComplain(const std::optional<QString>& text) {
    const std::optional<Address> address = text ? Address::parse(*text) : std::nullopt;
    if (!platform::openAddress(address)) {
        platform::consoleLog(formatText("Failed to open url: %@", address));
    }
    blockingWait(kWaitAfterOpening);
}

bool isAcceptable(const QNConfig& config) {
    const QNConfig::Text& action = config.defaultAction();
    return action && (*action != u"install"_s || config.latestMacURL());
}

// Written by another program of the product; the user's wish to close makes it worthless.
void deleteTinyLog() {
    const QString folder =
        formatText("%@%@/Logs", platform::homeDirectory(), QNConfigProvider::getEnvSpecificAppDataPath());
    FileManager::removeItem(formatText("%@/tiny.log", folder)); // a missing file is as good
}

} // namespace

QNMainController::QNMainController(const QString& interfaceName, MainMenu* mainMenu) : Screens(interfaceName) {
    mainMenu_ = mainMenu;
    connect(closeButton_, &QAbstractButton::clicked, this, &QNMainController::onCloseTap);
    awakeFromNib();
}

void QNMainController::awakeFromNib() {
    closeWithoutCheck_ = true;
    forceInstall_ = false;
    launchButton_->setHidden(true);
    isLaunchOrNot_ = 0;
    setupSpinner();
    setupConnectingLabel();
    sendEvent(u"Start"_s, {{u"SR"_s, eventValue(QNSystemInfo::getScreenResolution())},
                           {u"Proc"_s, eventValue(QNSystemInfo::getCPUName())},
                           {u"ProcType"_s, QNSystemInfo::getCPUType()}});
    setupLayer();
    setupMainMenu();
    subscribeEvents();
    setupUI();
}

void QNMainController::setupMainMenu() {
    if (mainMenu_ != nullptr) {
        connect(mainMenu_, &MainMenu::quitRequested, this, &QNMainController::tapQuit, Qt::UniqueConnection);
    }
}

void QNMainController::setupUI() {
    setupErrorPanel();
    startInstallation();
}

void QNMainController::subscribeEvents() {
    NotificationCenter& center = NotificationCenter::defaultCenter();
    center.addObserver(kHideAlert, [this](const Notification& notification) { hideAlert(notification); });
    center.addObserver(kQuitInstallation, [this](const Notification& notification) { quitInstallation(notification); });
    center.addObserver(kStartInstallation, [this](const Notification&) { startInstallation(); });
    center.addObserver(kHideCloseButton, [this](const Notification&) { onHideCloseButton(); });
    center.addObserver(kShowCloseButton, [this](const Notification&) { onShowCloseButton(); });
}

void QNMainController::onShowCloseButton() {
    closeButton_->setHidden(false);
}

void QNMainController::onHideCloseButton() {
    closeButton_->setHidden(true);
}

void QNMainController::tapQuit() {
    showQuitAler();
}

void QNMainController::onCloseTap() {
    showQuitAler();
}

void QNMainController::showQuitAler() {
    if (!alert_ && closeWithoutCheck_) {
        NotificationCenter::defaultCenter().post(kQuitInstallation);
    }
}

void QNMainController::sendEvent(const QString& eventName, const QVariantMap& data) {
    QNAnalyticSender::sendEvent(eventName, data);
}

void QNMainController::startInstallation() {
    constexpr auto kFunction = "-[QNMainController startInstallation]";
    if (!QNPreinstallCheck::hasInternetConnection()) {
        QNLogger::showScreen(u"NoInternet"_s, logContext(kFunction));
        showNoInternet();
        return;
    }
    const LogContext context = logContext(kFunction);
    QNLogger::showScreen(u"Connecting"_s, context);
    showConnectingScreen();
    const auto started = std::chrono::system_clock::now();
    QNConfigProvider::loadConfigWithCompletion(
        [this, started, context](const std::shared_ptr<QNConfig>& config, const std::optional<TransportError>& error) {
            configurationLoaded(config, error, started, context);
        });
}

void QNMainController::configurationLoaded(const std::shared_ptr<QNConfig>& config,
                                           const std::optional<TransportError>& error,
                                           std::chrono::system_clock::time_point started, const LogContext& context) {
    errorView_->setHidden(true);
    hidePageView();
    const double elapsed = secondsSince(started);
    const auto seconds = static_cast<float>(elapsed);
    if (!config || error || !isAcceptable(*config)) {
        showGenericError();
        sendEvent(u"Config"_s,
                  {{u"RSLT"_s, u"FAIL"_s}, {u"RSN"_s, u"Configuration error"_s}, {u"T"_s, QVariant(seconds)}});
        return;
    }
    QNLogger::debug(formatText("Config successful. Took %f seconds", elapsed), context);
    config_ = config;
    sendEvent(u"Config"_s, {{u"RSLT"_s, u"PASS"_s}, {u"T"_s, QVariant(seconds)}});
    beginInstallation();
}

void QNMainController::beginInstallation() {
    const QString action = config_->defaultAction().value_or(QString());
    if (action == u"openLink"_s) {
        openConfiguredLink();
    } else if (action == u"install"_s) {
        startDownload();
    }
}

void QNMainController::openConfiguredLink() {
    if (config_->customParam() != u"autoOpen"_s) {
        setViewHidden(false);
        showGenericDownloadScreen();
        return;
    }
    openOrComplain(config_->actionUrl());
    NotificationCenter::defaultCenter().post(kQuitInstallation);
}

void QNMainController::quitInstallation(const Notification& notification) {
    constexpr auto kFunction = "-[QNMainController quitInstallation:]";
    QNLogger::debug(formatText("%@ end.", QNConfigProvider::getStringFromPlist(u"kAPP_NAME"_s)), logContext(kFunction));
    const auto* const object = std::get_if<QVariantMap>(&notification.object);
    if (object && object->contains(u"isUserAction"_s)) {
        QNLogger::debug(u"User closed installer"_s, logContext(kFunction));
        deleteTinyLog();
    }
    if (object && object->contains(u"link"_s)) {
        const QString link = object->value(u"link"_s).toString();
        QNLogger::debug(u"Opening link"_s, logContext(kFunction));
        platform::consoleLog(formatText("link: %@", link));
        openOrComplain(link);
    }
    platform::terminate();
}
