#include "hdiutil/partition/PartitionMap.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/Schemes.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace hdi {

namespace {

bool holds(const ByteSource& disk, std::uint64_t offset, std::string_view signature) {
    const auto bytes = readUpTo(disk, offset, signature.size());
    return std::equal(bytes.begin(), bytes.end(), signature.begin(), signature.end(),
                      [](std::byte a, char b) { return a == static_cast<std::byte>(b); });
}

// A volume without a map may begin with a boot sector, which ends like an MBR.
bool isVolume(const ByteSource& disk) {
    return holds(disk, 1024, "H+") || holds(disk, 1024, "HX") || holds(disk, 32, "NXSB") || holds(disk, 54, "FAT") ||
           holds(disk, 82, "FAT32") || holds(disk, 3, "EXFAT") || holds(disk, 3, "NTFS");
}

} // namespace

std::vector<std::byte> readUpTo(const ByteSource& disk, std::uint64_t offset, std::size_t length) {
    const std::uint64_t left = disk.size() - std::min(disk.size(), offset);
    std::vector<std::byte> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(left, length)));
    if (!bytes.empty()) {
        disk.read(offset, bytes);
    }
    return bytes;
}

Partition makePartition(const ByteSource& disk, int number, std::string content, std::uint64_t start,
                        std::uint64_t count, std::uint64_t blockSize) {
    const std::uint64_t blocks = disk.size() / blockSize;
    if (start > blocks || count > blocks - start || count == 0) {
        throw ImageError(ImageError::Kind::kDamaged,
                         "partition " + std::to_string(number) + " reaches beyond the end of the disk");
    }
    return {number, std::move(content), start * blockSize, count * blockSize};
}

PartitionMap readPartitionMap(const ByteSource& disk) {
    if (auto map = readGpt(disk)) {
        return *std::move(map);
    }
    if (auto map = readApm(disk)) {
        return *std::move(map);
    }
    if (!isVolume(disk)) {
        if (auto map = readMbr(disk)) {
            return *std::move(map);
        }
    }
    return {"", {{0, "", 0, disk.size()}}};
}

} // namespace hdi
