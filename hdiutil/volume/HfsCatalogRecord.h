#pragma once

#include "hdiutil/volume/HfsBTree.h"
#include "hdiutil/volume/HfsFormat.h"

#include <cstdint>
#include <optional>
#include <string>

namespace hdi::hfs {

// A folder's or file's record in the catalog, as stored.
struct CatalogRecord {
    std::uint32_t parent = 0;
    std::u16string name;
    bool isFolder = false;
    std::uint16_t flags = 0;
    std::uint32_t id = 0;
    std::uint32_t modified = 0;
    std::uint32_t changed = 0;
    std::uint8_t ownerFlags = 0;
    std::uint16_t mode = 0;
    std::uint32_t special = 0; // of a hard link: what it refers to
    std::uint32_t type = 0;
    std::uint32_t creator = 0;
    Fork data, resources; // of a file
};

// Absent for a thread record, which says nothing that the others do not. Throws ImageError (kDamaged) for a record of
// an unknown type or too short for its own. Pure; facts: TN1150, "Catalog File".
std::optional<CatalogRecord> parseCatalogRecord(const LeafRecord& record);

} // namespace hdi::hfs
