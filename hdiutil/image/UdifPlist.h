#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace hdi {

// One entry of the resource fork that a UDIF image keeps as a property list.
struct Resource {
    int id = 0;
    std::string name;
    std::vector<std::byte> data;
};

// By type: "blkx" for chunk tables, "LPic", "TEXT", … Each in the order of the list.
using Resources = std::map<std::string, std::vector<Resource>>;

inline constexpr std::size_t kMaxPlistBytes = std::size_t{16} * 1024 * 1024;
inline constexpr int kMaxPlistDepth = 128;

// Whether the library may see `xml`: not too deep (it frees trees by recursion), complete, without entity declarations,
// and plain enough that nothing in it can be read in two ways.
bool isHarmlessXml(std::span<const char> xml);

// Reads the property list of an image. Throws ImageError kDamaged when it is too large, not harmless, not well-formed,
// or not a dictionary with a resource fork.
Resources parseUdifPlist(std::span<const std::byte> xml);

} // namespace hdi
