#include "hdiutil/front/Detach.h"

#include "hdiutil/front/Abandoned.h"
#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/TakeBack.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

struct Match {
    AttachRecord record;
    std::optional<std::string> device = std::nullopt; // of the row that was named; absent for the whole disk
};

// The folder of the last component without symlinks, so that the entry itself, which may not answer, is not touched.
std::string placeOf(const std::string& path) {
    std::error_code error;
    const fs::path parent = fs::canonical(fs::path(path).parent_path(), error);
    return error ? path : (parent / fs::path(path).filename()).string();
}

bool isPathOf(const AttachedRow& row, const std::string& target, const VolumesFolder& volumes) {
    if (!row.isMounted()) {
        return false;
    }
    const std::string path = volumes.realPath(fs::absolute(target).lexically_normal().string());
    return row.shownPath == target || row.realPath == path || placeOf(row.realPath) == placeOf(path) ||
           (!row.dataPath.empty() && placeOf(row.dataPath) == placeOf(path));
}

bool isNamed(const AttachRecord& record, const AttachedRow& row, const std::string& target,
             const VolumesFolder& volumes) {
    const std::optional<DeviceName> device = parseDeviceName(target);
    const bool byDevice = device && record.disk == device->disk && !device->slice.empty() &&
                          row.device == "/dev/" + record.diskName() + device->slice;
    return byDevice || isPathOf(row, target, volumes);
}

std::optional<Match> find(const std::vector<AttachRecord>& records, const std::string& target,
                          const VolumesFolder& volumes) {
    const std::optional<DeviceName> device = parseDeviceName(target);
    for (const AttachRecord& record : records) {
        if (device && device->disk == record.disk && device->slice.empty()) {
            return Match{record};
        }
        for (const AttachedRow& row : record.rows) {
            if (isNamed(record, row, target, volumes)) {
                return Match{record, row.device};
            }
        }
    }
    return std::nullopt;
}

// One of our mounts that no record tells of: the state folder was deleted by hand.
bool unmountUnrecorded(const std::string& path, bool force) {
    if (!isMounted(path)) {
        return false;
    }
    if (unmountFuse(path, force ? UnmountWay::kDetached : UnmountWay::kIfUnused) == EBUSY) {
        failBusy(path);
    }
    rmdir(path.c_str());
    return true;
}

} // namespace

std::optional<DeviceName> parseDeviceName(std::string_view text) {
    constexpr std::string_view kFolder = "/dev/";
    constexpr std::string_view kDisk = "disk";
    text.remove_prefix(text.starts_with(kFolder) ? kFolder.size() : 0);
    if (!text.starts_with(kDisk)) {
        return std::nullopt;
    }
    text.remove_prefix(kDisk.size());
    DeviceName name;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), name.disk);
    name.slice = std::string(end, text.data() + text.size());
    const bool sliced = name.slice.size() > 1 && name.slice.front() == 's' &&
                        name.slice.find_first_not_of("s0123456789") == std::string::npos;
    const bool valid = error == std::errc() && name.disk > 0 && (name.slice.empty() || sliced);
    return valid ? std::optional(name) : std::nullopt;
}

std::string detachImage(const DetachOptions& options) {
    const VolumesFolder volumes = VolumesFolder::open();
    const AttachedState state(volumes);
    const std::vector<AttachRecord> records = state.records();
    std::optional<Match> match = find(records, options.target, volumes);
    if (!match) {
        const std::string path = volumes.realPath(fs::absolute(options.target).lexically_normal().string());
        if (unmountUnrecorded(path, options.force)) {
            return "\"" + options.target + "\" unmounted successfully.\n";
        }
        reapAndList(state);
        throw FrontError((options.wholeDisk ? "detach" : "unmount") +
                         std::string(" failed - No such file or directory"));
    }
    const std::string disk = match->record.diskName();
    takeBack(state, std::move(match->record), match->device, options);
    reapAndList(state);
    return options.wholeDisk ? "\"" + disk + "\" ejected.\n" : "\"" + options.target + "\" unmounted successfully.\n";
}

} // namespace hdi
