#include "platform/RealPath.h"

#include "base/VolumesFolder.h"
#include "platform/Bundle.h"
#include "platform/base/PathText.h"
#include "platform/linux/PrivateFolder.h"

#include <QByteArray>
#include <QFile>
#include <QStringList>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

bool exists(const QString& path) {
    struct stat status {};
    return ::stat(PathText::toKernel(path).constData(), &status) == 0;
}

bool isFolder(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::optional<QString> systemRootOfEnvironment() {
    QString root = qEnvironmentVariable("QN_SYSTEM_ROOT");
    if (!root.startsWith(u'/')) {
        return std::nullopt;
    }
    while (root.endsWith(u'/')) {
        root.chop(1);
    }
    return root;
}

QString systemRootOfBundle() {
    return Bundle::mainBundle().path() + u"/Contents/SystemRoot"_s;
}

bool isBelowVolumes(const QString& plain) {
    return plain == u"/Volumes"_s || plain.startsWith(u"/Volumes/"_s);
}

} // namespace

QString realPath(const QString& plain) {
    if (!plain.startsWith(u'/')) {
        return plain;
    }
    if (const auto root = systemRootOfEnvironment(); root && exists(*root + plain)) {
        return *root + plain;
    }
    if (QString own = systemRootOfBundle() + plain; exists(own)) {
        return own;
    }
    if (isBelowVolumes(plain)) {
        if (const auto volumes = volumesFolder()) {
            return *volumes + plain.mid(u"/Volumes"_s.size());
        }
    }
    return plain;
}

std::optional<QString> volumesFolder() {
    const base::VolumesFolder chosen = base::volumesFolder();
    const QString folder = QFile::decodeName(chosen.path.c_str());
    if (!chosen.mustBePrivate || sessionRuntimeFolder()) {
        return folder;
    }
    // A folder in /tmp that another user made, or can write to, would let that user put applications before us.
    struct stat status {};
    const bool missing = ::lstat(chosen.path.c_str(), &status) != 0 && errno == ENOENT;
    return missing || isPrivateFolder(folder) ? std::optional(folder) : std::nullopt;
}

void addOwnToolsToPath() {
    const QStringList toolFolders = {u"/usr/bin"_s, u"/usr/sbin"_s, u"/bin"_s, u"/sbin"_s};
    QString path = qEnvironmentVariable("PATH");
    if (path.isEmpty()) {
        // Scripts without a PATH use the shell's own; ours alone would take its tools away.
        path = u"/usr/local/bin:/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin"_s;
    }
    for (const QString& folder : toolFolders) {
        if (const QString own = systemRootOfBundle() + folder; isFolder(own)) {
            path += u':' + own;
        }
    }
    ::setenv("PATH", QFile::encodeName(path).constData(), 1);
}

} // namespace platform
