#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/Schemes.h"

#include <algorithm>

namespace hdi {

namespace {

constexpr std::uint16_t kDriverSignature = 0x4552; // "ER"
constexpr std::uint16_t kEntrySignature = 0x504d;  // "PM"
constexpr std::size_t kEntrySize = 512;
constexpr std::uint32_t kMaxEntries = 256;

using Bytes = std::vector<std::byte>;

bool isEntry(const Bytes& bytes) {
    return bytes.size() == kEntrySize && loadBig<std::uint16_t>(bytes, 0) == kEntrySignature;
}

// The block size that block 0 states where the map agrees with it; else the one that leads to a map; 0 for none.
std::uint64_t blockSizeOf(const ByteSource& disk) {
    const Bytes driver = readUpTo(disk, 0, kEntrySize);
    const bool known = driver.size() == kEntrySize && loadBig<std::uint16_t>(driver, 0) == kDriverSignature;
    const std::uint64_t stated = known ? loadBig<std::uint16_t>(driver, 2) : 0;
    for (const std::uint64_t size : {stated, std::uint64_t{512}, std::uint64_t{2048}}) {
        if (size >= kEntrySize && size % kEntrySize == 0 && isEntry(readUpTo(disk, size, kEntrySize))) {
            return size;
        }
    }
    return 0;
}

std::string typeOf(const Bytes& entry) {
    std::string type;
    for (std::size_t i = 48; i < 80 && entry[i] != std::byte{0}; ++i) {
        const char c = static_cast<char>(entry[i]);
        type += c > ' ' && c < '\x7f' ? c : '?';
    }
    return type;
}

bool isSpace(const std::string& type) {
    return type.empty() || type == "Apple_Free" || type == "Apple_Void";
}

} // namespace

std::optional<PartitionMap> readApm(const ByteSource& disk) {
    const std::uint64_t blockSize = blockSizeOf(disk);
    if (blockSize == 0) {
        return std::nullopt;
    }
    PartitionMap map{"Apple_partition_scheme", {}};
    std::uint32_t count = 1;
    for (std::uint32_t i = 1; i <= count; ++i) {
        const Bytes entry = readUpTo(disk, i * blockSize, kEntrySize);
        if (!isEntry(entry)) {
            throw ImageError(ImageError::Kind::kDamaged, "the Apple partition map ends early");
        }
        count = i == 1 ? loadBig<std::uint32_t>(entry, 4) : count;
        if (count > kMaxEntries) {
            throw ImageError(ImageError::Kind::kDamaged, "the Apple partition map is too long");
        }
        const std::string type = typeOf(entry);
        if (!isSpace(type)) {
            map.partitions.push_back(makePartition(disk, static_cast<int>(i), type, loadBig<std::uint32_t>(entry, 8),
                                                   loadBig<std::uint32_t>(entry, 12), blockSize));
        }
    }
    return map;
}

} // namespace hdi
