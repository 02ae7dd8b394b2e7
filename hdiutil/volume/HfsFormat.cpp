#include "hdiutil/volume/HfsFormat.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Numbers.h"

#include <bit>

namespace hdi::hfs {

ExtentRecord parseExtentRecord(std::span<const std::byte> bytes, std::size_t at) {
    ExtentRecord record;
    for (Extent& extent : record) {
        extent = {be32(bytes, at), be32(bytes, at + 4)};
        at += 8;
    }
    return record;
}

Fork parseFork(std::span<const std::byte> bytes, std::size_t at) {
    Fork fork;
    fork.logicalSize = be64(bytes, at);
    fork.totalBlocks = be32(bytes, at + 12);
    fork.extents = parseExtentRecord(bytes, at + 16);
    return fork;
}

std::optional<VolumeHeader> parseVolumeHeader(std::span<const std::byte> bytes) {
    if (bytes.size() < kHeaderBytes) {
        return std::nullopt;
    }
    VolumeHeader header;
    header.signature = be16(bytes, 0);
    if (header.signature != kPlusSignature && header.signature != kXSignature) {
        return std::nullopt;
    }
    header.attributes = be32(bytes, 4);
    header.createDate = be32(bytes, 16);
    header.blockSize = be32(bytes, 40);
    header.totalBlocks = be32(bytes, 44);
    header.freeBlocks = be32(bytes, 48);
    header.extentsFile = parseFork(bytes, 192);
    header.catalogFile = parseFork(bytes, 272);
    header.attributesFile = parseFork(bytes, 352);
    if (header.blockSize < 512 || !std::has_single_bit(header.blockSize)) {
        throw ImageError(ImageError::Kind::kDamaged, "the volume's block size is not a power of two of at least 512");
    }
    return header;
}

} // namespace hdi::hfs
