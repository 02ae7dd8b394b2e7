#pragma once

#include "hdiutil/front/AttachRecord.h"

#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// The table on standard output: per row the device padded to 20, a tab, the content padded to 31, a tab, the mount
// point. Pure.
std::string tableText(const std::vector<AttachedRow>& rows);

// One line of /proc/self/mountinfo (proc(5)), escapes undone.
struct MountEntry {
    std::string device; // "0:52"
    std::string path;
    std::string type; // "fuse.hdiutil"
};
// Lines that do not have the published shape are left out. Pure.
std::vector<MountEntry> parseMountInfo(std::string_view text);

// The entries of this process's own mount namespace.
std::vector<MountEntry> currentMounts();

inline constexpr std::string_view kOwnFileSystem = "fuse.hdiutil";

} // namespace hdi
