#include "config/QNConfig.h"
#include "install/DownloadingStartDate.h"
#include "install/MountOutput.h"
#include "install/QNMainController.h"
#include "logging/LogContext.h"
#include "logging/QNAnalyticSender.h"
#include "logging/QNLogger.h"
#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/FileManager.h"
#include "platform/RunningApplications.h"
#include "platform/SystemExceptions.h"
#include "platform/Task.h"
#include "platform/UrlSession.h"
#include "platform/Workspace.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PathText.h"
#include "sysinfo/QNTask.h"
#include "ui/View.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto kFunction = "-[QNMainController URLSession:downloadTask:didFinishDownloadingToURL:]";
constexpr int kHttpOk = 200;

const QString kDiskImageTool = u"/usr/bin/hdiutil"_s;
const QString kNothingMounted = u"DMG mount error. Please check the contents of DMG file from config."_s;
const QString kNoVolumeName = u"DMG mount error. Please check the DMG file from config."_s;
const QString kEmptyVolume = u"Empty dmg file! Please check the DMG file from config."_s;
const QString kNotOneApplication = u"Executable error: No/More than one executable to run is present inside dmg file. "
                                   "Please check the DMG file from config."_s;

// The log will only say that the image has the wrong contents.
void tellOfEscaping(const QString& folder) {
    if (PathText::percentEscaped(folder) != folder) {
        platform::consoleLog(
            formatText("The folder for downloads, %@, has characters that an address does not show as they are (a "
                       "blank, an umlaut, %%, [ and the like): no image can be mounted from there. Choose another "
                       "temporary folder (TMPDIR) or bundle identifier.",
                       folder));
    }
}

// Moves the download to the name that the server suggested, in the same folder, and returns where it should be now.
// Looking for an older file goes by the plain folder and moving by the escaped one: they differ where the folder's name
// needs escaping, and then the move fails.
QString moveToSuggestedName(const QString& location, const QString& suggestedName) {
    const QString folder = PathText::deletingLastPathComponent(location);
    tellOfEscaping(folder);
    const QString destination = formatText("%@/%@", folder, suggestedName);
    if (FileManager::fileExists(destination)) {
        QNLogger::debug(formatText("\"%@ \"already exists. Removing old file.", destination), logContext(kFunction));
        FileManager::removeItem(destination); // whatever becomes of it, the mount will tell
    }
    QString target = formatText("%@/%@", PathText::percentEscaped(folder), suggestedName);
    FileManager::moveItem(location, target); // likewise
    QNLogger::debug(formatText("Copied %@ to %@", location, destination), logContext(kFunction));
    return target;
}

std::optional<QString> mount(const QString& image) {
    QNLogger::debug(formatText("Mounting: %@", image), logContext(kFunction));
    QNLogger::debug(formatText("Running command: %@", formatText("/usr/bin/hdiutil attach %@", image)),
                    logContext(kFunction));
    return QNTask::runTaskWithPath(kDiskImageTool, {u"mount"_s, image});
}

void detach(const QString& image, const QString& volume) {
    QNLogger::debug(formatText("Unmounting: %@", image), logContext(kFunction));
    QNLogger::debug(formatText("Running command: %@", formatText("/usr/bin/hdiutil detach %@", volume)),
                    logContext(kFunction));
    QNTask::runTaskWithPath(kDiskImageTool, {u"detach"_s, volume});
}

// Index 1, not 0, is deliberate: the list holds the newest first.
void bringForward(const std::optional<QString>& identifier) {
    const auto running = RunningApplication::withBundleIdentifier(identifier.value_or(QString()));
    if (running.size() < 2 || running[1].isActive()) {
        return;
    }
    QNLogger::debug(u"Moving Installer to foreground"_s, logContext(kFunction));
    running[1].activateAllWindows();
}

} // namespace

void QNMainController::URLSessionDownloadTaskDidFinishDownloadingToURL(const UrlResponse& response,
                                                                       const QString& location) {
    const double elapsed = secondsSince(downloadingStartDate());
    const QVariant seconds(static_cast<float>(elapsed));
    const QString url = config_->latestMacURL().value_or(QString());
    if (response.isHttp && response.statusCode != kHttpOk) {
        const QString reason = formatText("HTTP Response with status code %ld", response.statusCode);
        failInstallation(formatText("Download failed: %@ (error = %@)", url, reason), u"Download"_s,
                         {{u"RSLT"_s, u"FAIL"_s}, {u"URL"_s, url}, {u"RSN"_s, reason}, {u"T"_s, seconds}});
        return;
    }
    QNLogger::debug(formatText("Download completed: %@", url), logContext(kFunction));
    QNLogger::debug(formatText("Download took: %f seconds", elapsed), logContext(kFunction));
    sendEvent(
        u"Download"_s,
        {{u"RSLT"_s, u"PASS"_s}, {u"URL"_s, url}, {u"T"_s, seconds}, {u"DProd"_s, eventValue(config_->appName())}});
    const QString image = moveToSuggestedName(location, response.suggestedFilename);
    try {
        platform::translatingSystemExceptions([&] {
            if (const std::optional<QString> failure = installFrom(image)) {
                failInstallation(*failure, u"Config"_s, {{u"RSLT"_s, u"FAIL"_s}, {u"RSN"_s, u"Configuration error"_s}});
            }
        });
    } catch (const PlatformException& exception) {
        QNLogger::error(formatText("Unmount DMG error: %@", exception), logContext(kFunction));
    }
}

void QNMainController::failInstallation(const QString& message, const QString& eventName, const QVariantMap& data) {
    QNLogger::error(message, logContext(kFunction));
    setViewHidden(false);
    showGenericError();
    sendEvent(eventName, data);
}

std::optional<QString> QNMainController::installFrom(const QString& image) {
    const QString output = mount(image).value_or(QString());
    if (output.isEmpty()) {
        return kNothingMounted;
    }
    const QString behindVolumes = MountOutput::textBehindVolumes(output);
    if (behindVolumes.isEmpty()) {
        return kNothingMounted;
    }
    const QString volumeName = MountOutput::volumeName(behindVolumes);
    if (volumeName.isEmpty()) {
        return kNoVolumeName;
    }

    spinnerView_->setHidden(true);
    setViewHidden(true);
    QNLogger::debug(u"Closing Connecting screen."_s, logContext(kFunction));

    const QStringList entries =
        FileManager::contentsOfDirectory(formatText("/Volumes/%@/", volumeName)).value_or(QStringList());
    if (entries.isEmpty()) {
        return kEmptyVolume;
    }
    const std::optional<QString> entry = MountOutput::onlyApplication(entries);
    if (!entry) {
        return kNotOneApplication;
    }
    const QString application = formatText("/Volumes/%@/%@", volumeName, entry);
    QNLogger::debug(formatText("DMG mounted. Running command: %@", application), logContext(kFunction));
    if (!FileManager::fileExists(application)) {
        return formatText("\"%@ \"path does not exist.", application);
    }

    runInstaller(application);
    detach(image, formatText("/Volumes/%@", volumeName));
    NotificationCenter::defaultCenter().post(kQuitInstallation);
    return std::nullopt;
}

void QNMainController::runInstaller(const QString& application) {
    const std::optional<QString> path = platform::fullPathForApplication(application);
    const std::optional<Bundle> bundle = path ? Bundle::bundleWithPath(*path) : std::nullopt;
    const auto task = std::make_shared<Task>();
    task->setLaunchPath(bundle ? bundle->executablePath() : std::nullopt);
    const QNConfig::Text& argument = config_->commandLineArgs();
    if (argument && !argument->isEmpty()) {
        task->setArguments({*argument});
    }
    const auto pipe = std::make_shared<Pipe>();
    task->setStandardOutput(pipe);
    QNLogger::debug(formatText("Running Installer: \"%@ \" %@", application, argument), logContext(kFunction));
    task->launch();
    bringForward(bundle ? bundle->bundleIdentifier() : std::nullopt);
    task->waitUntilExit();
    QNLogger::debug(formatText("Installer from path : \"%@ \" finished running. Return value: %d", application,
                               task->terminationStatus() == 0 ? 1 : 0),
                    logContext(kFunction));
    readOutputOf(task, pipe->fileHandleForReading());
}
