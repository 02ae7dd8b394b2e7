#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/partition/PartitionMap.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace hdi {

// The readers behind readPartitionMap(). Each is absent for a disk that has no map of its kind, and throws ImageError
// kDamaged for one that has a bad one.

// With 512 or 4096 bytes to a block; the map at the disk's end is used where the first one fails its checksum.
std::optional<PartitionMap> readGpt(const ByteSource& disk);
// Free space and void entries are left out, but keep their numbers.
std::optional<PartitionMap> readApm(const ByteSource& disk);
// With the logical partitions of an extended one, which count from 5.
std::optional<PartitionMap> readMbr(const ByteSource& disk);

// `length` bytes from `offset`, fewer at the end of the disk.
std::vector<std::byte> readUpTo(const ByteSource& disk, std::uint64_t offset, std::size_t length);

// Throws ImageError kDamaged unless the partition lies within the disk and holds something. `start` and `count` are in
// blocks of `blockSize` bytes.
Partition makePartition(const ByteSource& disk, int number, std::string content, std::uint64_t start,
                        std::uint64_t count, std::uint64_t blockSize);

} // namespace hdi
