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

// Reads the property list of an image. Throws ImageError kDamaged when it does not come through the door
// of base/PropertyListParser.h or is not a dictionary with a resource fork.
Resources parseUdifPlist(std::span<const std::byte> xml);

} // namespace hdi
