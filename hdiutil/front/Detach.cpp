#include "hdiutil/front/Detach.h"

#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/BusyProcesses.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/front/MountPoints.h"
#include "hdiutil/front/Reaper.h"

#include <poll.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

constexpr int kEndOfDaemonMs = 5000;

struct Match {
    AttachRecord record;
    const std::string* device = nullptr; // the row that was named; null for the whole disk
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
            return Match{record, nullptr};
        }
        for (const AttachedRow& row : record.rows) {
            if (isNamed(record, row, target, volumes)) {
                return Match{record, &row.device};
            }
        }
    }
    return std::nullopt;
}

[[noreturn]] void failBusy(const std::string& name) {
    throw FrontError("couldn't unmount \"" + name + "\" - Resource busy", kStatusBusy);
}

bool waitForEnd(const base::Descriptor& process) {
    pollfd waiting{process.get(), POLLIN, 0};
    return !process || poll(&waiting, 1, kEndOfDaemonMs) == 1;
}

// Takes back the rows of one record that were asked for.
class Detacher {
public:
    Detacher(const AttachedState& state, Match match, const DetachOptions& options)
        : state_(state), record_(std::move(match.record)), options_(options) {
        for (AttachedRow& row : record_.rows) {
            const bool asked = options.wholeDisk || match.device == nullptr || row.device == *match.device;
            if (asked && row.isMounted()) {
                asked_.push_back(row);
            }
        }
    }

    void run() {
        if (!isLive(record_)) {
            finishWhole();
            return;
        }
        if (!record_.complete) {
            failBusy(record_.diskName());
        }
        record_.method == AttachMethod::kFuse ? detachFuse() : detachExtracted();
    }

private:
    bool isEverything() const {
        const auto mounted = std::count_if(record_.rows.begin(), record_.rows.end(),
                                           [](const AttachedRow& row) { return row.isMounted(); });
        return asked_.size() == static_cast<std::size_t>(mounted);
    }

    std::string busyName() const { return options_.wholeDisk ? record_.diskName() : asked_.front().device.substr(5); }

    void detachFuse() {
        const base::Descriptor daemon = record_.process.open();
        bool elsewhere = false;
        for (const AttachedRow& row : asked_) {
            const int error = unmountFuse(row.realPath, options_.force ? UnmountWay::kDetached : UnmountWay::kIfUnused);
            elsewhere = elsewhere || error == EINVAL;
            if (error == EBUSY) {
                failBusy(busyName());
            }
        }
        if (!isEverything()) {
            forgetAsked();
            return;
        }
        endDaemon(daemon, elsewhere);
        finishWhole();
    }

    // The daemon ends by itself when its last volume is unmounted and closed.
    void endDaemon(const base::Descriptor& daemon, bool elsewhere) {
        if (options_.force && daemon) {
            syscall(SYS_pidfd_send_signal, daemon.get(), SIGKILL, nullptr, 0);
        }
        if (waitForEnd(daemon)) {
            return;
        }
        if (elsewhere) { // mounted in another mount namespace, where somebody may be using it
            failBusy(record_.diskName());
        }
        syscall(SYS_pidfd_send_signal, daemon.get(), SIGKILL, nullptr, 0);
        waitForEnd(daemon);
    }

    void detachExtracted() {
        const auto inUse = [](const AttachedRow& row) {
            std::error_code error;
            return isFolderInUse(fs::canonical(row.dataPath, error).string());
        };
        if (!options_.force && std::any_of(asked_.begin(), asked_.end(), inUse)) {
            failBusy(busyName());
        }
        isEverything() ? finishWhole() : forgetAsked();
    }

    void finishWhole() {
        if (!cleanUp(state_, record_) && record_.method == AttachMethod::kExtracted) {
            throw FrontError("detach failed - some extracted files could not be removed");
        }
    }

    void forgetAsked() {
        for (AttachedRow& row : record_.rows) {
            const bool asked = std::find(asked_.begin(), asked_.end(), row) != asked_.end();
            if (asked) {
                removeMountPoint(row);
                row.shownPath = row.realPath = row.dataPath = "";
            }
        }
        state_.save(record_);
    }

    const AttachedState& state_;
    AttachRecord record_;
    const DetachOptions& options_;
    std::vector<AttachedRow> asked_;
};

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
    Detacher(state, std::move(*match), options).run();
    reapAndList(state);
    return options.wholeDisk ? "\"" + disk + "\" ejected.\n" : "\"" + options.target + "\" unmounted successfully.\n";
}

} // namespace hdi
