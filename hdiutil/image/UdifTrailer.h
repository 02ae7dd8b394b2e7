#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstdint>
#include <optional>

namespace hdi {

// A checksum as UDIF stores it. Only the CRC-32 is checked; other kinds count as none.
struct UdifChecksum {
    static constexpr std::uint32_t kCrc32 = 2;

    std::uint32_t type = 0; // 0: none
    std::uint32_t bits = 0;
    std::uint32_t value = 0; // the first 32 of them

    std::optional<std::uint32_t> crc32() const {
        return type == kCrc32 && bits == 32 ? std::optional(value) : std::nullopt;
    }
};

// The last 512 bytes of a UDIF image: where its parts lie.
//
// Facts: J. Metz, "Mac OS disk image types" (libmodi documentation), section "Universal Disk Image Format". Everything
// is big-endian.
struct UdifTrailer {
    static constexpr std::size_t kSize = 512;

    std::uint32_t flags = 1;
    std::uint64_t dataOffset = 0; // bytes in the file, of the compressed data
    std::uint64_t dataLength = 0;
    std::uint64_t plistOffset = 0; // bytes in the file, of the property list
    std::uint64_t plistLength = 0;
    UdifChecksum dataChecksum;
    UdifChecksum masterChecksum;
    std::uint64_t dataBegin = 0; // of this file's data in the data of all files of the image
    std::uint32_t segmentNumber = 1;
    std::uint32_t segmentCount = 1;
    std::array<std::byte, 16> segmentId{}; // the same in all of them
    std::uint64_t sectorCount = 0;         // of the disk
};

// The trailer of `file`; absent when it ends without one. Throws ImageError: kDamaged when its parts reach beyond the
// file, kUnsupported for a version that is not known.
std::optional<UdifTrailer> readUdifTrailer(const ByteSource& file);

} // namespace hdi
