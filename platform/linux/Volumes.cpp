#include "platform/Volumes.h"

#include "base/MountInfo.h"
#include "base/VolumesFolder.h"
#include "platform/RealPath.h"
#include "platform/base/FirstFrame.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/SystemFile.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

const QString kVolumes = u"/Volumes"_s;

// The kernel names a mount point without links; the volumes folder may be reached through some.
QString plainPathOf(const QString& mountPoint, const QStringList& volumesFolders) {
    for (const QString& folder : volumesFolders) {
        // A volumes folder that does not exist has no canonical path.
        if (!folder.isEmpty() && mountPoint.startsWith(folder + u'/')) {
            return kVolumes + mountPoint.mid(folder.size());
        }
    }
    return mountPoint;
}

struct ExtractedVolume {
    QString name;
    // When its link was made, which is when it was attached; links made within one tick of the clock differ in number.
    timespec made{};
    ino_t number = 0;

    bool operator<(const ExtractedVolume& other) const {
        if (made.tv_sec != other.made.tv_sec) {
            return made.tv_sec < other.made.tv_sec;
        }
        return made.tv_nsec != other.made.tv_nsec ? made.tv_nsec < other.made.tv_nsec : number < other.number;
    }
};

// A link to a folder in the volumes folder. A link whose folder is gone is no volume. What is mounted there is not
// touched: its program may not answer.
std::vector<ExtractedVolume> extractedVolumesIn(const QString& folder) {
    std::vector<ExtractedVolume> volumes;
    std::error_code error;
    std::filesystem::directory_iterator entries(QFile::encodeName(folder).toStdString(), error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        const auto& entry = *entries;
        std::error_code ignored; // what cannot be looked at is no volume
        struct stat status {};
        if (entry.is_symlink(ignored) && entry.is_directory(ignored) && ::lstat(entry.path().c_str(), &status) == 0) {
            volumes.push_back({QFile::decodeName(entry.path().filename().c_str()), status.st_mtim, status.st_ino});
        }
    }
    std::sort(volumes.begin(), volumes.end());
    return volumes;
}

} // namespace

QStringList mountedVolumes() {
    const auto table = readSystemFile(u"/proc/self/mountinfo"_s);
    const auto folder = volumesFolder();
    const QStringList folders = folder ? QStringList{*folder, QFileInfo(*folder).canonicalFilePath()} : QStringList();
    QStringList paths;
    for (const base::MountEntry& mount : base::parseMountInfo(table.value_or(QByteArray()).toStdString())) {
        paths += plainPathOf(QFile::decodeName(mount.path.c_str()), folders);
    }
    if (folder) {
        for (const ExtractedVolume& volume : extractedVolumesIn(*folder)) {
            paths += kVolumes + u'/' + volume.name;
        }
    }
    return paths;
}

void letGoOfAbandonedVolumes() {
    struct stat status {};
    const std::string attached = base::volumesFolder().path + '/' + base::kAttachedStateFolder;
    if (::stat(attached.c_str(), &status) != 0) {
        return;
    }
    try {
        std::thread([] {
            static_cast<void>(waitForFirstFrame());
            if (const auto tool =
                    spawn({.program = realPath(u"/usr/bin/hdiutil"_s), .arguments = {u"info"_s, u"-quiet"_s}})) {
                collectInBackground(*tool);
            }
        }).detach();
    } catch (const std::system_error&) { // the next call of the tool does it
    }
}

} // namespace platform
