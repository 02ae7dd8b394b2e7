#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/HfsFork.h"

#include <cstdint>
#include <vector>

namespace hdi::hfs {

// Where a file's com.apple.decmpfs attribute stands in the attributes file.
struct CompressionAttribute {
    std::uint32_t fileId = 0;
    std::uint32_t length = 0;
    std::uint64_t offset = 0;
};

// All of them, sorted by file. Other attributes, and such as do not stand in the tree itself, are passed over. Throws
// ImageError as walkLeaves does, kUnsupported beyond two million.
std::vector<CompressionAttribute> readCompressionAttributes(const ByteSource& attributesFile);

// All of the extents overflow file. Throws ImageError as walkLeaves does, kUnsupported beyond a million records.
OverflowExtents readOverflowExtents(const ByteSource& extentsFile);

} // namespace hdi::hfs
