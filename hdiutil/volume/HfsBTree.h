#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstdint>
#include <functional>
#include <span>

namespace hdi::hfs {

// The header of a B-tree file.
struct TreeHeader {
    std::uint16_t nodeSize = 0;
    std::uint32_t firstLeaf = 0;
    std::uint8_t keyCompare = 0;
};

// Reads the first node. Throws ImageError (kDamaged) for a node size that is no power of two from 512 to 32768 or
// larger than the file.
TreeHeader readTreeHeader(const ByteSource& file);

// One record of a leaf: its key without the length, and what follows it.
struct LeafRecord {
    std::span<const std::byte> key;
    std::span<const std::byte> data;
    std::uint64_t dataOffset; // in the B-tree's file
};

// Calls `visit` for every record of the leaves in their linked order. The index nodes are not needed for that and not
// trusted. Throws ImageError (kDamaged) for records outside their node and leaves that are none or come round again,
// (kUnsupported) for more than a gigabyte of them.
//
// Facts: TN1150, "B-Trees".
void walkLeaves(const ByteSource& file, const TreeHeader& header, const std::function<void(const LeafRecord&)>& visit);

} // namespace hdi::hfs
