#include "hdiutil/front/MountControl.h"

#include "hdiutil/front/MountTable.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace hdi {
namespace {

void runHelper(const std::string& folder, UnmountWay way) {
    std::vector<std::string> words = {"fusermount3", way == UnmountWay::kDetached ? "-uz" : "-u", "--", folder};
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    }
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, "fusermount3", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    while (error == 0 && waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

bool isMounted(const std::string& folder) {
    const std::vector<base::MountEntry> mounts = currentMounts();
    return std::any_of(mounts.begin(), mounts.end(), [&](const base::MountEntry& entry) {
        return entry.path == folder && entry.type == kOwnFileSystem;
    });
}

int unmountFuse(const std::string& folder, UnmountWay way) {
    const int flags = UMOUNT_NOFOLLOW | (way == UnmountWay::kDetached ? MNT_DETACH : 0);
    if (umount2(folder.c_str(), flags) == 0) {
        return 0;
    }
    if (errno != EPERM) {
        return errno;
    }
    if (!isMounted(folder)) {
        return EINVAL;
    }
    runHelper(folder, way);
    return isMounted(folder) ? EBUSY : 0;
}

} // namespace hdi
