#pragma once

#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/image/ByteSource.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

// Which partition map a new disk gets.
enum class Layout {
    kNone, // the file system is the disk
    kGpt,  // "GPTSPUD": one partition in a GPT
    kApm,  // "SPUD": one partition in an Apple partition map
};

// "GPTSPUD", "SPUD" or "NONE"; absent for any other name.
std::optional<Layout> diskLayout(std::string_view name);

// A disk around one file system, and what its chunk tables are about.
struct NewDisk {
    ByteSourcePtr disk;
    std::vector<DiskRange> ranges;
};

// Puts `fileSystem`, a whole number of sectors, into a partition that holds `content` ("Apple_HFS" for HFS+ and HFSX).
// The partition begins at a multiple of 4096 bytes. The identifiers in a GPT follow from the file system's first bytes,
// so that the same file system gives the same disk. Throws ImageError kUnsupported for one that is empty, not a whole
// number of sectors, or too large for the map.
//
// Facts: as for readPartitionMap.
NewDisk layOut(ByteSourcePtr fileSystem, Layout layout, const std::string& content = "Apple_HFS");

} // namespace hdi
