#pragma once

#include <string>
#include <string_view>

namespace hdi {

// True when a process that we may look into has a file below `folder` open, mapped or running, or stands there with its
// working or root directory: what the kernel answers for a mounted file system, for a folder that is none. `folder` has
// no symlinks in it.
bool isFolderInUse(const std::string& folder);

// True when `path`, as the kernel prints it, is `folder` or lies below it. Pure.
bool liesIn(std::string_view path, std::string_view folder);

} // namespace hdi
