#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

namespace hdi::test {

namespace {

constexpr std::size_t kVolume = std::size_t{100} * 512;

Bytes laidOut(Layout layout) {
    return readAll(*layOut(inMemory(noise(kVolume, 1)), layout).disk);
}

PartitionMap mapOf(const Bytes& disk) {
    return readPartitionMap(*inMemory(disk));
}

auto errorOfMap(const Bytes& disk) {
    return errorOf([&] { mapOf(disk); });
}

struct MbrEntry {
    std::uint8_t type;
    std::uint32_t start;
    std::uint32_t count;
};

void putMbr(Bytes& disk, std::size_t sector, const std::vector<MbrEntry>& entries) {
    const std::size_t at = sector * 512;
    storeBig<std::uint16_t>(disk, at + 510, 0x55aa);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        disk[at + 446 + 16 * i + 4] = std::byte{entries[i].type};
        storeLittle(std::span(disk), at + 446 + 16 * i + 8, entries[i].start);
        storeLittle(std::span(disk), at + 446 + 16 * i + 12, entries[i].count);
    }
}

std::string rowOf(const Partition& partition) {
    return std::to_string(partition.number) + " " + partition.content + " " + std::to_string(partition.offset / 512) +
           " " + std::to_string(partition.length / 512);
}

std::vector<std::string> rowsOf(const PartitionMap& map) {
    std::vector<std::string> rows;
    for (const Partition& partition : map.partitions) {
        rows.push_back(rowOf(partition));
    }
    return rows;
}

using Rows = std::vector<std::string>;
constexpr auto kDamaged = ImageError::Kind::kDamaged;

} // namespace

TEST(PartitionMap, ReadsGpt) {
    const PartitionMap map = mapOf(laidOut(Layout::kGpt));
    EXPECT_EQ(map.scheme, "GUID_partition_scheme");
    EXPECT_EQ(rowsOf(map), Rows{"1 Apple_HFS 40 100"});
}

// Two images whose disks are called alike cannot be told apart by the systems that mount them.
TEST(PartitionMap, OfAnImageThatIsWrittenHasIdentifiersThatFollowFromItsContents) {
    const auto identifiersOf = [](const Bytes& disk) {
        const auto guidAt = [&](std::size_t at) {
            return Bytes(disk.begin() + static_cast<std::ptrdiff_t>(at),
                         disk.begin() + static_cast<std::ptrdiff_t>(at) + 16);
        };
        return std::array{guidAt(512 + 56), guidAt(1024 + 16)}; // of the disk, of the partition
    };
    const auto first = identifiersOf(laidOut(Layout::kGpt));
    const auto other = identifiersOf(readAll(*layOut(inMemory(noise(kVolume, 2)), Layout::kGpt).disk));
    EXPECT_NE(first[0], first[1]);
    for (const std::size_t which : {0U, 1U}) {
        EXPECT_NE(first[which], other[which]);
        EXPECT_EQ(first[which], identifiersOf(laidOut(Layout::kGpt))[which]);
        EXPECT_EQ(first[which][7] & std::byte{0xf0}, std::byte{0x40}) << "version 4";
        EXPECT_EQ(first[which][8] & std::byte{0xc0}, std::byte{0x80});
        EXPECT_GE(std::set<std::byte>(first[which].begin(), first[which].end()).size(), 6U) << "nearly all the same";
    }
}

TEST(PartitionMap, ReadsTheGptAtTheEndWhenTheFirstIsDamaged) {
    for (const std::size_t at : {512U, 512U + 40U, 1024U, 1024U + 33U}) {
        Bytes disk = laidOut(Layout::kGpt);
        disk[at] ^= std::byte{1};
        EXPECT_EQ(rowsOf(mapOf(disk)), Rows{"1 Apple_HFS 40 100"}) << at;
    }
}

TEST(PartitionMap, RefusesAGptThatIsDamagedTwice) {
    Bytes disk = laidOut(Layout::kGpt);
    disk[512 + 40] ^= std::byte{1};
    disk[disk.size() - 512 + 40] ^= std::byte{1};
    EXPECT_EQ(errorOfMap(disk), kDamaged);
}

TEST(PartitionMap, RefusesAGptOfADiskThatWasCut) {
    Bytes disk = laidOut(Layout::kGpt);
    disk.resize(std::size_t{100} * 512);
    EXPECT_EQ(errorOfMap(disk), kDamaged);
}

TEST(PartitionMap, ReadsGptWithLargeSectors) {
    const Bytes small = laidOut(Layout::kGpt);
    Bytes disk(std::size_t{200} * 4096);
    std::copy_n(small.begin() + 512, 512, disk.begin() + 4096);
    std::copy_n(small.begin() + 1024, std::size_t{32} * 512, disk.begin() + 8192);
    const PartitionMap map = mapOf(disk);
    ASSERT_EQ(map.partitions.size(), 1U);
    EXPECT_EQ(map.partitions[0].offset, std::size_t{40} * 4096);
    EXPECT_EQ(map.partitions[0].length, std::size_t{100} * 4096);
}

TEST(PartitionMap, ReadsApm) {
    const PartitionMap map = mapOf(laidOut(Layout::kApm));
    EXPECT_EQ(map.scheme, "Apple_partition_scheme");
    EXPECT_EQ(rowsOf(map), (Rows{"1 Apple_partition_map 1 63", "2 Apple_HFS 64 100"}));
}

TEST(PartitionMap, ReadsApmWithTheBlockSizeThatItsBeginningStates) {
    const Bytes small = laidOut(Layout::kApm);
    constexpr std::size_t kBlock = 1024;
    Bytes disk(small.size() * 2);
    storeBig<std::uint16_t>(disk, 0, 0x4552); // "ER"
    storeBig<std::uint16_t>(disk, 2, kBlock);
    for (const std::size_t block : {1U, 2U}) {
        std::copy_n(small.begin() + static_cast<std::ptrdiff_t>(block * 512), 512,
                    disk.begin() + static_cast<std::ptrdiff_t>(block * kBlock));
    }
    EXPECT_EQ(rowsOf(mapOf(disk)), (Rows{"1 Apple_partition_map 2 126", "2 Apple_HFS 128 200"}));
}

TEST(PartitionMap, LeavesFreeSpaceOutOfApmButCountsIt) {
    Bytes disk = laidOut(Layout::kApm);
    for (const std::size_t block : {1U, 2U, 3U}) {
        if (block == 3) {
            std::copy_n(disk.begin() + 1024, 512, disk.begin() + 1536);
        }
        storeBig<std::uint32_t>(disk, block * 512 + 4, 3);
    }
    const Bytes type = bytesOf(std::string_view("Apple_Free\0", 11));
    std::copy(type.begin(), type.end(), disk.begin() + 1024 + 48);
    EXPECT_EQ(rowsOf(mapOf(disk)), (Rows{"1 Apple_partition_map 1 63", "3 Apple_HFS 64 100"}));
}

TEST(PartitionMap, RefusesApmThatEndsEarlyOrNever) {
    for (const std::uint32_t count : {3U, 256U, 257U, UINT32_MAX}) {
        Bytes disk = laidOut(Layout::kApm);
        storeBig(std::span(disk), 512 + 4, count);
        EXPECT_EQ(errorOfMap(disk), kDamaged) << count;
    }
}

TEST(PartitionMap, ShowsNoControlCharactersFromApm) {
    Bytes disk = laidOut(Layout::kApm);
    disk[1024 + 48] = std::byte{'\n'};
    disk[1024 + 49] = std::byte{0xff};
    EXPECT_EQ(mapOf(disk).partitions.at(1).content, "??ple_HFS");
}

TEST(PartitionMap, ReadsMbrWithLogicalPartitions) {
    Bytes disk(std::size_t{1000} * 512);
    putMbr(disk, 0, {{0xaf, 10, 20}, {0x00, 0, 0}, {0x0f, 100, 800}, {0x17, 40, 5}});
    putMbr(disk, 100, {{0x0b, 1, 50}, {0x05, 200, 100}});
    putMbr(disk, 300, {{0x83, 2, 60}});
    const PartitionMap map = mapOf(disk);
    EXPECT_EQ(map.scheme, "FDisk_partition_scheme");
    EXPECT_EQ(rowsOf(map),
              (Rows{"1 Apple_HFS 10 20", "3 0x0F 100 800", "4 0x17 40 5", "5 DOS_FAT_32 101 50", "6 Linux 302 60"}));
}

TEST(PartitionMap, RefusesMbrChainsThatNeverEnd) {
    Bytes disk(std::size_t{1000} * 512);
    putMbr(disk, 0, {{0x0f, 100, 800}});
    putMbr(disk, 100, {{0x0b, 1, 50}, {0x05, 0, 100}});
    EXPECT_EQ(errorOfMap(disk), kDamaged);
    putMbr(disk, 100, {{0x0b, 1, 50}, {0x05, 100000, 100}});
    EXPECT_EQ(errorOfMap(disk), kDamaged);
}

TEST(PartitionMap, NamesTheKindsOfMbrPartitions) {
    const std::pair<std::uint8_t, const char*> kinds[] = {
        {0x01, "DOS_FAT_12"}, {0x06, "DOS_FAT_16"}, {0x07, "Windows_NTFS"}, {0x0c, "DOS_FAT_32"},
        {0x82, "Linux_Swap"}, {0xab, "Apple_Boot"}, {0xef, "EFI"},          {0x42, "0x42"}};
    for (const auto& [type, content] : kinds) {
        Bytes disk(std::size_t{100} * 512);
        putMbr(disk, 0, {{type, 1, 1}});
        EXPECT_EQ(mapOf(disk).partitions.at(0).content, content);
    }
}

TEST(PartitionMap, RefusesPartitionsBeyondTheDisk) {
    Bytes disk(std::size_t{100} * 512);
    putMbr(disk, 0, {{0xaf, 10, 91}});
    EXPECT_EQ(errorOfMap(disk), kDamaged);
    Bytes apm = laidOut(Layout::kApm);
    storeBig<std::uint32_t>(apm, 1024 + 12, 101);
    EXPECT_EQ(errorOfMap(apm), kDamaged);
    storeBig<std::uint32_t>(apm, 1024 + 8, UINT32_MAX);
    EXPECT_EQ(errorOfMap(apm), kDamaged);
}

TEST(PartitionMap, IsTheWholeDiskWithoutOne) {
    for (Bytes disk : {Bytes(), Bytes(10), Bytes(1024), noise(100000, 1)}) {
        const PartitionMap map = mapOf(disk);
        EXPECT_EQ(map.scheme, "");
        ASSERT_EQ(map.partitions.size(), 1U);
        EXPECT_EQ(map.partitions[0].number, 0);
        EXPECT_EQ(map.partitions[0].content, "");
        EXPECT_EQ(map.partitions[0].offset, 0U);
        EXPECT_EQ(map.partitions[0].length, disk.size());
    }
}

TEST(PartitionMap, DoesNotTakeABootSectorForMbr) {
    Bytes volume(100000);
    putMbr(volume, 0, {{0xaf, 10, 20}});
    const Bytes signature = bytesOf("H+");
    std::copy(signature.begin(), signature.end(), volume.begin() + 1024);
    EXPECT_EQ(mapOf(volume).scheme, "");
    Bytes code(100000);
    putMbr(code, 0, {{0xaf, 10, 20}});
    code[446] = std::byte{0x33};
    EXPECT_EQ(mapOf(code).scheme, "");
}

TEST(PartitionMap, SurvivesEveryTruncationAndChangedByte) {
    for (const Layout layout : {Layout::kGpt, Layout::kApm}) {
        const Bytes good = laidOut(layout);
        for (std::size_t i = 0; i < 3000; ++i) {
            Bytes bad = good;
            bad[i] ^= std::byte{0xa5};
            errorOfMap(bad); // any answer, but no crash; sanitizers watch
            errorOfMap(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i)));
        }
    }
    SUCCEED();
}

} // namespace hdi::test
