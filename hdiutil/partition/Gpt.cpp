#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/GptTypes.h"
#include "hdiutil/partition/Schemes.h"

#include <algorithm>

namespace hdi {

namespace {

constexpr std::uint64_t kSignature = 0x5452415020494645; // "EFI PART"
constexpr std::size_t kHeaderSize = 92;
constexpr std::size_t kEntrySize = 128;
constexpr std::size_t kMaxEntrySize = 4096;
constexpr std::size_t kMaxEntries = 1024;

using Bytes = std::vector<std::byte>;

bool hasSignature(const Bytes& header) {
    return header.size() >= kHeaderSize && loadLittle<std::uint64_t>(header, 0) == kSignature;
}

bool headerChecksumMatches(Bytes header) {
    const auto length = loadLittle<std::uint32_t>(header, 12);
    if (length < kHeaderSize || length > header.size()) {
        return false;
    }
    const auto wanted = loadLittle<std::uint32_t>(header, 16);
    storeLittle<std::uint32_t>(header, 16, 0);
    return !kCompareChecksums || crc32(std::span(header).first(length)) == wanted;
}

// The entries that a header leads to; empty when they are not all there or fail their checksum.
Bytes readEntries(const ByteSource& disk, const Bytes& header, std::uint64_t blockSize) {
    const auto block = loadLittle<std::uint64_t>(header, 72);
    const auto count = loadLittle<std::uint32_t>(header, 80);
    const auto size = loadLittle<std::uint32_t>(header, 84);
    if (count > kMaxEntries || size < kEntrySize || size > kMaxEntrySize || block > disk.size() / blockSize) {
        return {};
    }
    const std::size_t length = std::size_t{count} * size;
    Bytes entries = readUpTo(disk, block * blockSize, length);
    const bool good =
        entries.size() == length && (!kCompareChecksums || crc32(entries) == loadLittle<std::uint32_t>(header, 88));
    return good ? entries : Bytes();
}

std::vector<Partition> partitionsOf(const ByteSource& disk, const Bytes& entries, std::size_t entrySize,
                                    std::uint64_t blockSize) {
    std::vector<Partition> partitions;
    for (std::size_t at = 0; at + entrySize <= entries.size(); at += entrySize) {
        const auto entry = std::span(entries).subspan(at, entrySize);
        const auto type = entry.first<kGuidSize>();
        if (std::all_of(type.begin(), type.end(), [](std::byte b) { return b == std::byte{0}; })) {
            continue;
        }
        const auto first = loadLittle<std::uint64_t>(entry, 32);
        const auto last = loadLittle<std::uint64_t>(entry, 40);
        const std::uint64_t count = last < first ? 0 : last - first + 1;
        partitions.push_back(
            makePartition(disk, static_cast<int>(at / entrySize) + 1, gptContent(type), first, count, blockSize));
    }
    return partitions;
}

// Absent when the map at `offset` is not a good one.
std::optional<PartitionMap> readMapAt(const ByteSource& disk, std::uint64_t offset, std::uint64_t blockSize) {
    const Bytes header = readUpTo(disk, offset, static_cast<std::size_t>(blockSize));
    if (!hasSignature(header) || !headerChecksumMatches(header)) {
        return std::nullopt;
    }
    const Bytes entries = readEntries(disk, header, blockSize);
    if (entries.empty()) {
        return std::nullopt;
    }
    return PartitionMap{"GUID_partition_scheme",
                        partitionsOf(disk, entries, loadLittle<std::uint32_t>(header, 84), blockSize)};
}

} // namespace

std::optional<PartitionMap> readGpt(const ByteSource& disk) {
    bool seen = false;
    for (const std::uint64_t blockSize : {512U, 4096U}) {
        const std::uint64_t blocks = disk.size() / blockSize;
        for (const std::uint64_t block : {std::uint64_t{1}, blocks - 1}) {
            if (blocks < 2) {
                continue;
            }
            if (auto map = readMapAt(disk, block * blockSize, blockSize)) {
                return map;
            }
            seen = seen || (block == 1 && hasSignature(readUpTo(disk, block * blockSize, kHeaderSize)));
        }
    }
    if (seen) {
        throw ImageError(ImageError::Kind::kDamaged, "the GUID partition map is damaged");
    }
    return std::nullopt;
}

} // namespace hdi
