#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/UdifTable.h"

#include <cstdint>
#include <vector>

namespace hdi {

// All runs of all tables in the order of the disk. Throws ImageError kDamaged when two of them overlap.
std::vector<UdifRun> orderedRuns(const std::vector<UdifTable>& tables);

// The disk that runs in order describe. Sectors of no run read as zeros.
ByteSourcePtr makeChunkedDisk(ByteSourcePtr file, std::vector<UdifRun> runs, std::uint64_t sectorCount,
                              const ReadOptions& options);

} // namespace hdi
