#pragma once

#include "hdiutil/image/UdifTrailer.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hdi {

// How the bytes of a run are stored.
enum class RunType : std::uint32_t {
    kZero = 0x00000000,    // nothing stored; part of the table's checksum
    kRaw = 0x00000001,     // as they are
    kIgnored = 0x00000002, // nothing stored, reads as zeros; not part of the table's checksum
    kAdc = 0x80000004,
    kZlib = 0x80000005,
    kBzip2 = 0x80000006,
    kLzfse = 0x80000007,
    kLzma = 0x80000008,
    kComment = 0x7ffffffe,
    kTerminator = 0xffffffff,
};

inline bool isCompressed(RunType type) {
    return (static_cast<std::uint32_t>(type) & 0x80000000U) != 0;
}

struct UdifRun {
    RunType type = RunType::kZero;
    std::uint64_t sector = 0; // of the disk
    std::uint64_t sectorCount = 0;
    std::uint64_t offset = 0; // bytes in the file
    std::uint64_t length = 0; // bytes, as stored
};

// One chunk table: the runs of one partition, without comments and terminator.
struct UdifTable {
    std::string name; // as in "disk image (Apple_HFS : 4)"
    std::uint64_t firstSector = 0;
    std::uint64_t sectorCount = 0;
    UdifChecksum checksum;
    std::vector<UdifRun> runs; // in the order of the table
};

// The most that one compressed run may decode to; images in use have 1 MiB or less.
inline constexpr std::uint64_t kMaxRunBytes = std::uint64_t{16} * 1024 * 1024;

// Decodes a table. `dataOffset` is where the data fork begins in a file of `fileSize` bytes, `diskSectors` the length
// of the disk. Throws ImageError: kDamaged for counts and ranges that do not fit the table, the disk or the file,
// kUnsupported for a kind of run that is not known.
//
// Facts: as for UdifTrailer, "Block table".
UdifTable parseUdifTable(std::span<const std::byte> bytes, std::uint64_t dataOffset, std::uint64_t fileSize,
                         std::uint64_t diskSectors);

} // namespace hdi
