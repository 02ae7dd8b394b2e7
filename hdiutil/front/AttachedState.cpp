#include "hdiutil/front/AttachedState.h"

#include "base/Files.h"
#include "base/Text.h"
#include "base/VolumesFolder.h"
#include "hdiutil/front/FrontError.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace hdi {
namespace {

constexpr int kFirstDisk = 2; // macOS's own disks come first
constexpr std::string_view kRecordPrefix = "disk";

int flockRetrying(int fd, int operation) {
    int result = 0;
    do {
        result = flock(fd, operation);
    } while (result != 0 && errno == EINTR);
    return result;
}

// The holder of the lock removes the file with the last record, so a lock on a file without a name is worth nothing.
bool isStillNamed(int fd, const std::string& path) {
    struct stat mine {};
    struct stat named {};
    return fstat(fd, &mine) == 0 && lstat(path.c_str(), &named) == 0 && mine.st_ino == named.st_ino &&
           mine.st_dev == named.st_dev;
}

std::optional<int> diskOfFile(const std::string& name) {
    if (!name.starts_with(kRecordPrefix)) {
        return std::nullopt;
    }
    const std::optional<int> disk = base::parseNumber<int>(std::string_view(name).substr(kRecordPrefix.size()));
    return disk >= kFirstDisk ? disk : std::nullopt;
}

} // namespace

AttachedState::AttachedState(const VolumesFolder& volumes) : AttachedState(volumes, true) {}

AttachedState::AttachedState(const VolumesFolder& volumes, bool wait)
    : folder_(volumes.path() + '/' + base::kAttachedStateFolder) {
    while (!acquire(wait)) {
        if (!wait) {
            lock_.reset();
            return;
        }
    }
}

std::optional<AttachedState> AttachedState::tryLock(const VolumesFolder& volumes) {
    AttachedState state(volumes, false);
    return state.lock_ ? std::optional(std::move(state)) : std::nullopt;
}

bool AttachedState::acquire(bool wait) {
    if (mkdir(folder_.c_str(), 0700) != 0 && errno != EEXIST) {
        throw FrontError("cannot create \"" + folder_ + "\" - " + errorText(errno));
    }
    const base::Descriptor folder(::open(folder_.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder && errno == ENOENT) {
        return false; // the last user of the folder removed it just now
    }
    struct stat facts {};
    if (!folder || fstat(folder.get(), &facts) != 0 || facts.st_uid != geteuid() || (facts.st_mode & 022) != 0) {
        throw FrontError("the state folder \"" + folder_ + "\" is not a folder of yours");
    }
    lock_.reset(openat(folder.get(), "lock", O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!lock_ && errno == ENOENT) {
        return false; // the same, a moment later
    }
    if (!lock_) {
        const int error = errno;
        rmdir(folder_.c_str()); // stays while anything is in it
        throw FrontError("cannot create the lock in \"" + folder_ + "\" - " + errorText(error));
    }
    return flockRetrying(lock_.get(), wait ? LOCK_EX : LOCK_EX | LOCK_NB) == 0 &&
           isStillNamed(lock_.get(), folder_ + "/lock");
}

AttachedState::~AttachedState() {
    if (!lock_) {
        return;
    }
    std::error_code ignored; // nothing is lost when an empty folder stays
    if (records().empty()) {
        std::filesystem::remove(folder_ + "/lock", ignored);
        std::filesystem::remove(folder_, ignored);
    }
}

std::string AttachedState::recordPath(int disk) const {
    return folder_ + "/" + std::string(kRecordPrefix) + std::to_string(disk);
}

std::vector<AttachRecord> AttachedState::records() const {
    std::vector<AttachRecord> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
        const std::string name = entry.path().filename().string();
        const std::optional<int> disk = diskOfFile(name);
        std::optional<AttachRecord> record =
            disk ? parseRecord(base::readSmallFile(entry.path().string()).value_or("")) : std::nullopt;
        if (record && record->disk == *disk) {
            found.push_back(std::move(*record));
        } else if (name != "lock") {
            std::filesystem::remove(entry.path(), error);
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.disk < b.disk; });
    return found;
}

int AttachedState::firstFreeDisk() const {
    int disk = kFirstDisk;
    for (const AttachRecord& record : records()) {
        disk += record.disk == disk ? 1 : 0;
    }
    return disk;
}

base::Descriptor AttachedState::write(const AttachRecord& record) const {
    const std::string path = recordPath(record.disk);
    const std::string fresh = folder_ + "/new";
    base::Descriptor file(::open(fresh.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file || !base::writeAll(file.get(), serialize(record)) || flockRetrying(file.get(), LOCK_EX) != 0 ||
        rename(fresh.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(fresh.c_str());
        throw FrontError("cannot note what is attached in \"" + folder_ + "\" - " + errorText(error));
    }
    return file;
}

void AttachedState::save(const AttachRecord& record) const {
    write(record);
}

base::Descriptor AttachedState::reserve(const AttachRecord& record) const {
    return write(record);
}

void AttachedState::remove(const AttachRecord& record) const {
    unlink(recordPath(record.disk).c_str());
}

base::Descriptor AttachedState::openRecord(const AttachRecord& record) const {
    return base::Descriptor(::open(recordPath(record.disk).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
}

void waitUntilDone(const base::Descriptor& reservation) {
    if (reservation) {
        flockRetrying(reservation.get(), LOCK_SH);
    }
}

} // namespace hdi
