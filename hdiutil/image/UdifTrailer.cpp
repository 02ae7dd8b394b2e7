#include "hdiutil/image/UdifTrailer.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Sectors.h"

#include <algorithm>
#include <array>

namespace hdi {

namespace {

constexpr std::uint32_t kSignature = 0x6b6f6c79; // "koly"
constexpr std::uint32_t kVersion = 4;

UdifChecksum checksumAt(std::span<const std::byte> bytes, std::size_t offset) {
    return {loadBig<std::uint32_t>(bytes, offset), loadBig<std::uint32_t>(bytes, offset + 4),
            loadBig<std::uint32_t>(bytes, offset + 8)};
}

void requireWithin(std::uint64_t offset, std::uint64_t length, std::uint64_t fileSize, const char* what) {
    if (offset > fileSize || length > fileSize - offset) {
        throw ImageError(ImageError::Kind::kDamaged, std::string(what) + " reaches beyond the end of the image file");
    }
}

void check(const UdifTrailer& trailer, std::uint64_t fileSize) {
    requireWithin(trailer.dataOffset, trailer.dataLength, fileSize, "the data fork");
    requireWithin(trailer.plistOffset, trailer.plistLength, fileSize, "the property list");
    if (trailer.sectorCount > kMaxSectors) {
        throw ImageError(ImageError::Kind::kDamaged, "the disk's size is beyond all bounds");
    }
}

} // namespace

std::optional<UdifTrailer> readUdifTrailer(const ByteSource& file) {
    if (file.size() < UdifTrailer::kSize) {
        return std::nullopt;
    }
    std::array<std::byte, UdifTrailer::kSize> bytes;
    file.read(file.size() - UdifTrailer::kSize, bytes);
    if (loadBig<std::uint32_t>(bytes, 0) != kSignature) {
        return std::nullopt;
    }
    if (loadBig<std::uint32_t>(bytes, 4) != kVersion || loadBig<std::uint32_t>(bytes, 8) != UdifTrailer::kSize) {
        throw ImageError(ImageError::Kind::kUnsupported, "unknown version of the image's trailer");
    }
    UdifTrailer trailer;
    trailer.flags = loadBig<std::uint32_t>(bytes, 12);
    trailer.dataOffset = loadBig<std::uint64_t>(bytes, 24);
    trailer.dataLength = loadBig<std::uint64_t>(bytes, 32);
    trailer.dataBegin = loadBig<std::uint64_t>(bytes, 16);
    trailer.segmentNumber = loadBig<std::uint32_t>(bytes, 56);
    std::copy_n(bytes.begin() + 64, trailer.segmentId.size(), trailer.segmentId.begin());
    trailer.segmentCount = loadBig<std::uint32_t>(bytes, 60);
    trailer.dataChecksum = checksumAt(bytes, 80);
    trailer.plistOffset = loadBig<std::uint64_t>(bytes, 216);
    trailer.plistLength = loadBig<std::uint64_t>(bytes, 224);
    trailer.masterChecksum = checksumAt(bytes, 352);
    trailer.sectorCount = loadBig<std::uint64_t>(bytes, 492);
    check(trailer, file.size());
    return trailer;
}

} // namespace hdi
