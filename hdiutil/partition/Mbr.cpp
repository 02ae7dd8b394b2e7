#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/Schemes.h"

#include <algorithm>
#include <array>

namespace hdi {

namespace {

constexpr std::uint64_t kBlock = 512;
constexpr std::size_t kTableAt = 446;
constexpr std::size_t kEntrySize = 16;
constexpr int kMaxLogical = 128;

struct Entry {
    unsigned status = 0;
    unsigned type = 0;
    std::uint64_t start = 0; // blocks
    std::uint64_t count = 0;
};

using Table = std::array<Entry, 4>;

bool isExtended(unsigned type) {
    return type == 0x05 || type == 0x0f || type == 0x85;
}

std::string contentOf(unsigned type) {
    switch (type) {
    case 0x01:
        return "DOS_FAT_12";
    case 0x04:
    case 0x06:
    case 0x0e:
        return "DOS_FAT_16";
    case 0x07:
        return "Windows_NTFS";
    case 0x0b:
    case 0x0c:
        return "DOS_FAT_32";
    case 0x82:
        return "Linux_Swap";
    case 0x83:
        return "Linux";
    case 0xab:
        return "Apple_Boot";
    case 0xaf:
        return "Apple_HFS";
    case 0xef:
        return "EFI";
    default:
        constexpr const char* kDigits = "0123456789ABCDEF";
        return std::string("0x") + kDigits[type >> 4U] + kDigits[type & 15U];
    }
}

// Absent when the block is no table: a boot sector has program code in its place.
std::optional<Table> tableAt(const ByteSource& disk, std::uint64_t block) {
    const auto bytes = readUpTo(disk, block * kBlock, kBlock);
    if (bytes.size() != kBlock || loadBig<std::uint16_t>(bytes, 510) != 0x55aa) {
        return std::nullopt;
    }
    Table table;
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto entry = std::span(bytes).subspan(kTableAt + i * kEntrySize, kEntrySize);
        table.at(i) = {std::to_integer<unsigned>(entry[0]), std::to_integer<unsigned>(entry[4]),
                       loadLittle<std::uint32_t>(entry, 8), loadLittle<std::uint32_t>(entry, 12)};
    }
    const bool sane = std::all_of(table.begin(), table.end(),
                                  [](const Entry& entry) { return entry.status == 0 || entry.status == 0x80; });
    return sane ? std::optional(table) : std::nullopt;
}

void addEntry(const ByteSource& disk, int number, const Entry& entry, std::uint64_t base, PartitionMap& map) {
    if (entry.type != 0) {
        map.partitions.push_back(
            makePartition(disk, number, contentOf(entry.type), base + entry.start, entry.count, kBlock));
    }
}

// The chain of tables inside an extended partition: each holds one partition and the way to the next table.
void addLogical(const ByteSource& disk, std::uint64_t extended, PartitionMap& map) {
    std::uint64_t at = extended;
    for (int number = 5;; ++number) {
        const auto table = tableAt(disk, at);
        if (!table || number >= 5 + kMaxLogical) {
            throw ImageError(ImageError::Kind::kDamaged, "the chain of logical partitions is damaged");
        }
        addEntry(disk, number, (*table)[0], at, map);
        const Entry& next = (*table)[1];
        if (!isExtended(next.type)) {
            return;
        }
        at = extended + next.start;
    }
}

} // namespace

std::optional<PartitionMap> readMbr(const ByteSource& disk) {
    const auto table = tableAt(disk, 0);
    if (!table || std::none_of(table->begin(), table->end(), [](const Entry& entry) { return entry.type != 0; })) {
        return std::nullopt;
    }
    PartitionMap map{"FDisk_partition_scheme", {}};
    for (std::size_t i = 0; i < table->size(); ++i) {
        addEntry(disk, static_cast<int>(i) + 1, table->at(i), 0, map);
    }
    for (const Entry& entry : *table) {
        if (isExtended(entry.type)) {
            addLogical(disk, entry.start, map);
        }
    }
    return map;
}

} // namespace hdi
