#pragma once

#include <string>

namespace hdi {

// Removes a folder and everything in it, folders without write permission included. Symlinks are removed, never
// followed; nothing outside is touched. A folder that is not there counts as removed. False, with errno set, when
// something stays.
bool removeTree(const std::string& path);

} // namespace hdi
