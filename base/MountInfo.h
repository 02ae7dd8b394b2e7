#pragma once

#include <string>
#include <string_view>
#include <vector>

// Reading of /proc/self/mountinfo (proc(5)). Pure.
namespace base {

struct MountEntry {
    std::string device; // "0:52"
    std::string path;   // absolute, escapes undone
    std::string type;   // "fuse.hdiutil"
};

// The mounts in the order of the table. A line that does not have the published shape is left out.
std::vector<MountEntry> parseMountInfo(std::string_view text);

// "\040" becomes a blank. A backslash without three octal digits of a byte behind it stays.
std::string withoutOctalEscapes(std::string_view text);

} // namespace base
