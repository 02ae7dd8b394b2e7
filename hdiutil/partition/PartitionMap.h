#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstdint>
#include <string>
#include <vector>

namespace hdi {

// One row of a disk's table of contents.
struct Partition {
    int number = 0;           // as in disk2s1: counts from 1 in the order of the table; 0 is the whole disk
    std::string content;      // "Apple_HFS", "Apple_APFS", "EFI", "Apple_partition_map", … as macOS's tool prints it
    std::uint64_t offset = 0; // bytes
    std::uint64_t length = 0; // bytes
};

struct PartitionMap {
    std::string scheme; // "GUID_partition_scheme", "Apple_partition_scheme", "FDisk_partition_scheme", "" for none
    std::vector<Partition> partitions;
};

// Reads GPT, APM or MBR; with none of them the whole disk is one partition without a number. Throws ImageError
// (kDamaged) for a map whose entries reach beyond the disk or that is longer than a sane bound.
//
// Facts: UEFI 2.10, chapter 5 (GPT), Inside Macintosh: Devices, SCSI Manager (APM).
PartitionMap readPartitionMap(const ByteSource& disk);

// The part of `disk` from `offset`; keeps the disk alive.
ByteSourcePtr slice(ByteSourcePtr disk, std::uint64_t offset, std::uint64_t length);

} // namespace hdi
