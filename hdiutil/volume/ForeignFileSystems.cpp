#include "hdiutil/volume/ForeignFileSystems.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Numbers.h"

#include <array>
#include <bit>
#include <cstring>
#include <string>
#include <string_view>

namespace hdi {

namespace {

using BootSector = std::array<std::byte, 512>;

// The fields of a FAT's first sector that no other sector has by chance all at once.
bool isFat(const BootSector& sector) {
    const std::uint16_t sectorBytes = le16(sector, 11);
    const std::uint8_t clusterSectors = byteAt(sector, 13);
    const std::uint8_t fats = byteAt(sector, 16);
    const std::uint8_t jump = byteAt(sector, 0);
    return (jump == 0xEB || jump == 0xE9) && sectorBytes >= 512 && sectorBytes <= 4096 &&
           std::has_single_bit(sectorBytes) && std::has_single_bit(clusterSectors) && le16(sector, 14) != 0 &&
           (fats == 1 || fats == 2) && byteAt(sector, 21) >= 0xF0;
}

// Which one is decided by the number of clusters alone.
const char* fatName(const BootSector& sector) {
    const std::uint32_t fatSectors16 = le16(sector, 22);
    const std::uint64_t fatSectors = fatSectors16 != 0 ? fatSectors16 : le32(sector, 36);
    const std::uint32_t sectors16 = le16(sector, 19);
    const std::uint64_t sectors = sectors16 != 0 ? sectors16 : le32(sector, 32);
    const std::uint64_t rootSectors = (le16(sector, 17) * 32ULL + le16(sector, 11) - 1) / le16(sector, 11);
    const std::uint64_t before = le16(sector, 14) + byteAt(sector, 16) * fatSectors + rootSectors;
    const std::uint64_t clusters = sectors > before ? (sectors - before) / byteAt(sector, 13) : 0;
    if (fatSectors16 == 0) {
        return "FAT32";
    }
    return clusters < 4085 ? "FAT12" : clusters < 65525 ? "FAT16" : "FAT32";
}

// ISO 9660 and UDF name themselves in the sectors behind the first sixteen, of 2048 bytes.
bool isOpticalDisc(const ByteSource& partition) {
    constexpr std::uint64_t kFirst = 32768;
    constexpr std::uint64_t kSector = 2048;
    std::array<char, 6> name{};
    for (std::uint64_t at = kFirst; at < kFirst + 3 * kSector && at + name.size() <= partition.size(); at += kSector) {
        partition.read(at, std::as_writable_bytes(std::span(name)));
        const std::string_view text(name.data() + 1, 5);
        if (text == "CD001" || text == "BEA01" || text == "NSR02" || text == "NSR03") {
            return true;
        }
    }
    return false;
}

std::string fatNameIn(const ByteSource& partition) {
    BootSector sector{};
    if (partition.size() < sector.size()) {
        return {};
    }
    partition.read(0, sector);
    if (byteAt(sector, 510) != 0x55 || byteAt(sector, 511) != 0xAA) {
        return {};
    }
    if (std::memcmp(sector.data() + 3, "EXFAT   ", 8) == 0) {
        return "exFAT";
    }
    return isFat(sector) ? fatName(sector) : "";
}

} // namespace

void refuseForeignFileSystem(const ByteSource& partition) {
    std::string name = fatNameIn(partition);
    std::string reader = name == "exFAT" ? "exfat-fuse" : "mtools (mdir, mcopy)";
    if (name.empty() && isOpticalDisc(partition)) {
        name = "ISO 9660 or UDF";
        reader = "7zz";
    }
    if (!name.empty()) {
        throw ImageError(ImageError::Kind::kUnsupported,
                         "the volume is in the " + name + " format, which " + reader + " reads");
    }
}

} // namespace hdi
