#pragma once

#include <filesystem>
#include <optional>
#include <string>

// Files of the system as the stand-in tools see them: below $QN_SYSTEM_ROOT when that is absolute and has the file,
// else the system's own.
namespace standins {

std::filesystem::path systemPath(const std::string& plain);

// The whole file; absent when it cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& path);

// Without blanks, tabs and line ends at both ends.
std::string trimmed(const std::string& text);

} // namespace standins
