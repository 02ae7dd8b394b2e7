#pragma once

#include "base/MountInfo.h"
#include "hdiutil/front/AttachRecord.h"

#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// The table on standard output: per row the device padded to 20, a tab, the content padded to 31, a tab, the mount
// point. Pure.
std::string tableText(const std::vector<AttachedRow>& rows);

// The entries of this process's own mount namespace.
std::vector<base::MountEntry> currentMounts();

inline constexpr std::string_view kOwnFileSystem = "fuse.hdiutil";

} // namespace hdi
