#pragma once

#include "hdiutil/volume/HfsFormat.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string_view>
#include <vector>

namespace hdi {

// The structures of HFS+ as bytes. Pure functions; facts: TN1150.

using HfsBytes = std::vector<std::byte>;

// Seconds since 1904; a time that the format cannot hold becomes the nearest that it can.
std::uint32_t toHfsTime(std::time_t time);

// What folders and files have in common. Of a hard link, owner and group are the links before and after it in the
// chain.
struct HfsItem {
    std::uint16_t flags = 0; // besides a file's thread flag
    std::uint32_t id = 0;
    std::uint32_t created = 0;
    std::uint32_t modified = 0;
    std::uint32_t changed = 0;
    std::uint32_t accessed = 0;
    std::uint32_t owner = 0;
    std::uint32_t group = 0;
    std::uint8_t ownerFlags = 0;
    std::uint16_t mode = 0;
    std::uint32_t special = 0;
};

struct HfsFolderItem : HfsItem {
    std::uint32_t valence = 0;     // entries in it
    std::uint32_t folderCount = 0; // folders in it; HFSX only
    std::uint16_t finderFlags = 0;
};

struct HfsFileItem : HfsItem {
    std::uint32_t firstLink = 0; // of the file that hard links lead to
    std::uint32_t type = 0;
    std::uint32_t creator = 0;
    std::uint16_t finderFlags = 0;
    hfs::Fork data, resources;
};

HfsBytes catalogKey(std::uint32_t parent, std::u16string_view name);
HfsBytes folderRecord(const HfsFolderItem& folder);
HfsBytes fileRecord(const HfsFileItem& file);
HfsBytes threadRecord(bool ofFolder, std::uint32_t parent, std::u16string_view name);

// What a B-tree's file of that many bytes grows by: 1 MiB, which no small volume may have. Checkers allow a quarter of
// the volume, or all that the file has.
std::uint32_t treeClump(std::uint64_t length);

struct HfsHeaderItem {
    bool isHfsx = false;
    std::uint32_t created = 0;
    std::uint32_t fileCount = 0;
    std::uint32_t folderCount = 0; // without the root
    std::uint32_t blockSize = 0;
    std::uint32_t totalBlocks = 0;
    std::uint32_t freeBlocks = 0;
    std::uint32_t nextId = 0;
    std::uint64_t volumeId = 0;
    hfs::Fork allocationFile, extentsFile, catalogFile, attributesFile;
};

// 512 bytes.
HfsBytes volumeHeader(const HfsHeaderItem& header);

} // namespace hdi
