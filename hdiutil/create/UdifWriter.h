#pragma once

#include "hdiutil/create/ImageOutput.h"
#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/UdifTable.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace hdi {

// What one chunk table describes.
struct DiskRange {
    std::string name; // as in "disk image (Apple_HFS : 4)"
    std::uint64_t firstSector = 0;
    std::uint64_t sectorCount = 0;
};

struct WriteOptions {
    RunType format = RunType::kZlib;      // of a codec that encodes
    unsigned threads = 0;                 // that compress; 0: one per core
    std::string licence;                  // UTF-8; none when empty
    NewEncryption encryption;             // none without a password
    std::function<void(double)> progress; // gets 0…1, on the caller's thread
};

// Writes `disk` as a UDIF image to `path`: one chunk table for each of `ranges`, which are in order and do not overlap,
// with the checksum of every table, of the compressed data and of all tables. Chunks that hold only zeros take no room,
// and those that do not get smaller are stored as they are.
//
// The image appears at `path` when it is complete, in place of what was there; after an error there is no trace of it.
// The same disk always gives the same bytes. Throws ImageError: kIo when the file cannot be written, what
// `disk.read` throws, kUnsupported for a disk that is not a whole number of sectors.
//
// Facts: as for UdifTrailer.
void writeUdif(const ByteSource& disk, const std::vector<DiskRange>& ranges, const std::string& path,
               const WriteOptions& options);

} // namespace hdi
