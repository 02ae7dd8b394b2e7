#include "install/QNUnmount.h"

#include "config/QNConfigProvider.h"
#include "logging/LogContext.h"
#include "logging/QNLogger.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/Folders.h"
#include "platform/SystemExceptions.h"
#include "platform/Task.h"
#include "platform/Volumes.h"
#include "platform/base/Format.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QString volumeName() {
    const QVariantMap plist = QNConfigProvider::getPlist();
    return formatText("%@ Installer %@ %@", QNConfigProvider::getStringFromPlist(u"kAPP_NAME"_s),
                      plist.value(u"CFBundleShortVersionString"_s), plist.value(u"QNEnv"_s));
}

// The bundle's script, copied to where only this user can write: the bundle itself may lie on a volume that goes away.
QString copyOfScript() {
    const std::optional<QString> resource = Bundle::mainBundle().pathForResource(u"unmount"_s, u"sh"_s);
    const std::optional<QByteArray> script = resource ? FileManager::contents(*resource) : std::nullopt;
    if (!script) {
        throw PlatformException::invalidArgument(u"the script unmount.sh cannot be read"_s);
    }
    const std::optional<QString> folder = platform::temporaryDirectory();
    if (!folder) {
        throw PlatformException::invalidArgument(u"there is no private temporary folder"_s);
    }
    QString copy = *folder + u"/unmount.sh"_s;
    if (const std::optional<FileManager::Error> error = FileManager::writeAtomically(*script, copy)) {
        throw PlatformException::invalidArgument(error->description);
    }
    return copy;
}

void startScript(const QString& script, const QString& volume) {
    const auto task = std::make_shared<Task>();
    task->setLaunchPath(u"/bin/sh"_s);
    task->setArguments({script, volume});
    task->launch();
}

} // namespace

std::optional<QString> QNUnmount::getDisk() {
    const QString name = volumeName();
    std::optional<QString> disk;
    for (const QString& volume : platform::mountedVolumes()) {
        if (volume.contains(name)) {
            disk = volume; // the one listed last wins
        }
    }
    return disk;
}

void QNUnmount::unmountDMG() {
    constexpr auto kFunction = "+[QNUnmount unmountDMG]";
    const std::optional<QString> disk = getDisk();
    if (!disk) {
        return;
    }
    QNLogger::debug(formatText("Unmount DMG from path: %@", disk), logContext(kFunction));
    try {
        platform::translatingSystemExceptions([&] { startScript(copyOfScript(), *disk); });
    } catch (const PlatformException& exception) {
        QNLogger::error(formatText("Unmount DMG error: %@", exception), logContext(kFunction));
    }
}
