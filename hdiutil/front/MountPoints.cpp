#include "hdiutil/front/MountPoints.h"

#include "base/Descriptor.h"
#include "hdiutil/front/FileTree.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/VolumeName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

// A mount whose server was killed answers ENOTCONN to everything; nobody's record tells of it any more.
void clearDeadMount(const std::string& path) {
    if (!isMounted(path)) {
        return;
    }
    // The kernel still knows the folder's attributes; only opening it asks the server.
    const base::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder && (errno == ENOTCONN || errno == ECONNABORTED)) {
        unmountFuse(path, UnmountWay::kDetached);
        rmdir(path.c_str());
    }
}

std::string canonicalPlace(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path).lexically_normal();
    const fs::path trimmed = absolute.has_filename() ? absolute : absolute.parent_path();
    const fs::path parent = fs::canonical(trimmed.parent_path(), error);
    if (error) {
        throw AttachError(errorText(error.value()) + " (" + trimmed.parent_path().string() + ")");
    }
    return (parent / trimmed.filename()).string();
}

} // namespace

MountPoints::MountPoints(const OpenedImage& opened, int disk, const VolumesFolder& volumes,
                         const std::optional<std::string>& wanted, const std::string& dataFolder)
    : volumes_(volumes), dataFolder_(dataFolder) {
    if (wanted && opened.volumeCount() > 1) {
        throw AttachError("-mountpoint is for images with one volume");
    }
    try {
        for (const ImageSlot& slot : opened.slots) {
            makeRow(slot, "/dev/disk" + std::to_string(disk) + slot.suffix, wanted);
        }
    } catch (...) {
        for (const AttachedRow& row : rows_) {
            removeMountPoint(row);
        }
        throw;
    }
}

MountPoints::~MountPoints() {
    for (const AttachedRow& row : rows_) {
        removeMountPoint(row);
    }
}

void MountPoints::makeRow(const ImageSlot& slot, const std::string& device, const std::optional<std::string>& wanted) {
    AttachedRow row;
    row.device = device;
    row.content = slot.content;
    if (slot.volume) {
        const std::string name = cleanVolumeName(slot.volume->name());
        if (wanted) {
            makeWanted(row, name, canonicalPlace(*wanted));
        } else {
            row.shownPath = VolumesFolder::shownPath(makeNamed(row, name));
        }
    }
    rows_.push_back(std::move(row));
}

// Making the entry is what takes the name, so two processes never share one.
std::string MountPoints::makeNamed(AttachedRow& row, const std::string& name) {
    return firstFreeName(name, [&](const std::string& candidate) {
        row.realPath = volumes_.path() + "/" + candidate;
        row.dataPath = dataFolder_.empty() ? "" : dataFolder_ + "/" + candidate;
        clearDeadMount(row.realPath);
        return !make(row);
    });
}

void MountPoints::makeWanted(AttachedRow& row, const std::string& name, const std::string& path) {
    row.shownPath = path;
    row.realPath = path;
    row.dataPath = dataFolder_.empty() ? "" : dataFolder_ + "/" + name;
    clearDeadMount(path);
    // The user's own empty folder comes back with detach.
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(path, error))) {
        if (!fs::is_empty(path, error) || isMounted(path)) {
            throw AttachError("the mount point \"" + path + "\" is not an empty folder");
        }
        row.madeFolder = false;
        if (row.dataPath.empty()) {
            return;
        }
        fs::remove(path, error);
    }
    if (!make(row)) {
        throw AttachError(errorText(EEXIST) + " (" + path + ")");
    }
}

// False when something of that name is there already.
bool MountPoints::make(AttachedRow& row) const {
    const int result =
        row.dataPath.empty() ? mkdir(row.realPath.c_str(), 0755) : symlink(row.dataPath.c_str(), row.realPath.c_str());
    if (result != 0 && errno != EEXIST) {
        throw AttachError(errorText(errno) + " (" + row.realPath + ")");
    }
    return result == 0;
}

bool isMountedAt(const std::vector<AttachedRow>& rows, const std::string& wanted) {
    const std::string place = canonicalPlace(wanted);
    return std::any_of(rows.begin(), rows.end(), [&](const AttachedRow& row) { return row.realPath == place; });
}

bool removeMountPoint(const AttachedRow& row) {
    if (!row.isMounted()) {
        return true;
    }
    std::error_code error;
    if (row.dataPath.empty()) {
        return !row.madeFolder || rmdir(row.realPath.c_str()) == 0 || errno == ENOENT;
    }
    if (fs::read_symlink(row.realPath, error) == row.dataPath) {
        unlink(row.realPath.c_str());
        if (!row.madeFolder) {
            mkdir(row.realPath.c_str(), 0755);
        }
    }
    const std::string folder = fs::path(row.dataPath).parent_path().string();
    const bool removed = removeTree(row.dataPath) && removeTree(incompletePath(folder));
    rmdir(folder.c_str()); // stays while other volumes of the image lie in it
    return removed;
}

std::string incompletePath(const std::string& dataFolder) {
    return dataFolder + "/ incomplete"; // no cleaned volume name begins with a blank
}

} // namespace hdi
