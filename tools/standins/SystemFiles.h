#pragma once

#include <filesystem>
#include <string>

// Files of the system as the stand-in tools see them: below $QN_SYSTEM_ROOT when that is absolute and has the file,
// else the system's own.
namespace standins {

std::filesystem::path systemPath(const std::string& plain);

} // namespace standins
