#include "platform/linux/PrivateFolder.h"

#include "base/VolumesFolder.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform {

bool isPrivateFolder(const QString& path) {
    return base::isPrivateFolder(QFile::encodeName(path).toStdString(), ::geteuid());
}

bool ensurePrivateFolder(const QString& path) {
    // Failure shows in the check: an existing folder is the usual case.
    ::mkdir(QFile::encodeName(path).constData(), S_IRWXU);
    return isPrivateFolder(path);
}

std::optional<QString> sessionRuntimeFolder() {
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!folder.startsWith(u'/') || !isPrivateFolder(folder)) {
        return std::nullopt;
    }
    return folder;
}

std::optional<QString> runtimeFolder() {
    if (auto session = sessionRuntimeFolder()) {
        return session;
    }
    const QString own = u"/tmp/runtime-%1"_s.arg(::geteuid());
    return ensurePrivateFolder(own) ? std::optional(own) : std::nullopt;
}

} // namespace platform
