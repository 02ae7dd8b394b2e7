#pragma once

// The one controller of the main window: the flow of an installation. The screens that it shows are its base class.
//
// Where what is defined:
//   flow                   install/QNMainController.cpp
//   download               install/QNMainControllerDownload.cpp
//   disk image             install/QNMainControllerDiskImage.cpp
//   installer's output     install/QNMainControllerOutput.cpp
//   screens                ui/Screens.h
//   fields and accessors   ui/ScreenFields.h

#include "logging/LogContext.h"
#include "platform/base/TransportError.h"
#include "ui/Screens.h"

#include <QString>
#include <QVariantMap>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

struct Notification;
struct UrlResponse;

class ReadingFileHandle;
class Task;

// Main thread only.
class QNMainController : public Screens {
    Q_OBJECT

public:
    // Loads the screens, then runs awakeFromNib once, which starts the first run. `mainMenu` may be absent. Throws
    // PlatformException when the interface file is missing, broken or incomplete.
    explicit QNMainController(const QString& interfaceName, MainMenu* mainMenu = nullptr);

    // --- Flow ---

    void awakeFromNib();
    // The menu's wish to quit comes to this controller's tapQuit.
    void setupMainMenu();
    void subscribeEvents();
    // Puts the screens into their first state and starts the installation.
    void setupUI();
    void onShowCloseButton();
    void onHideCloseButton();
    // The quit action of the menu, and the window manager's wish to close the window.
    void tapQuit();
    void onCloseTap();
    void showQuitAler();
    void sendEvent(const QString& eventName, const QVariantMap& data);
    void startInstallation();
    void beginInstallation();
    void quitInstallation(const Notification& notification);

    // --- Download ---

    void URLSessionDownloadTaskDidWriteData(std::int64_t bytesWritten, std::int64_t totalBytesWritten,
                                            std::int64_t totalBytesExpectedToWrite);
    void URLSessionTaskDidCompleteWithError(const std::optional<TransportError>& error);

    // --- Disk image ---

    void URLSessionDownloadTaskDidFinishDownloadingToURL(const UrlResponse& response, const QString& location);

    // --- Installer's output ---

    void receivedData(const Notification& notification);
    void taskCompletion(const Notification& notification);

private:
    // --- Flow ---

    void configurationLoaded(const std::shared_ptr<QNConfig>& config, const std::optional<TransportError>& error,
                             std::chrono::system_clock::time_point started, const LogContext& context);
    void openConfiguredLink();

    // --- Download ---

    void startDownload();
    void showNoInternet();

    // --- Disk image ---

    // Mounts, runs, detaches and asks to quit. The message of the failure that stopped it, if one did. Throws what the
    // platform raises on the way.
    std::optional<QString> installFrom(const QString& image);
    void runInstaller(const QString& application);
    void failInstallation(const QString& message, const QString& eventName, const QVariantMap& data);

    // --- Installer's output ---

    void readOutputOf(const std::shared_ptr<Task>& task, const std::shared_ptr<ReadingFileHandle>& output);
};
