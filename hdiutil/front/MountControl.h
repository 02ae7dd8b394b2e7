#pragma once

#include <string>

namespace hdi {

enum class UnmountWay {
    kIfUnused, // EBUSY while something is open
    kDetached, // taken away at once, freed when the last file is closed
};

// Unmounts one of our own file systems: with the system call, and without the right to that through fusermount3.
// 0, or an errno: EBUSY when it is in use, EINVAL when nothing is mounted there (in this mount namespace).
int unmountFuse(const std::string& folder, UnmountWay way);

// Whether one of our own file systems is mounted on `folder` in this mount namespace; asks nothing of the file system.
bool isMounted(const std::string& folder);

} // namespace hdi
