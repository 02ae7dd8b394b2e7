#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace hdi::test {

namespace {

std::vector<std::string> rowsOf(const NewDisk& disk) {
    std::vector<std::string> rows;
    for (const DiskRange& range : disk.ranges) {
        rows.push_back(range.name + " " + std::to_string(range.firstSector) + " " + std::to_string(range.sectorCount));
    }
    return rows;
}

NewDisk laidOut(Layout layout, std::size_t sectors = 100) {
    return layOut(inMemory(noise(sectors * 512, 1)), layout);
}

auto errorOfLayout(std::size_t bytes, Layout layout, const std::string& content) {
    return errorOf([&] { layOut(inMemory(Bytes(bytes)), layout, content); });
}

} // namespace

TEST(DiskLayout, NamesTheRangesOfAGptDisk) {
    EXPECT_THAT(rowsOf(laidOut(Layout::kGpt)),
                testing::ElementsAre(
                    "Protective Master Boot Record (MBR : 0) 0 1", "GPT Header (Primary GPT Header : 1) 1 1",
                    "GPT Partition Data (Primary GPT Table : 2) 2 32", " (Apple_Free : 3) 34 6",
                    "disk image (Apple_HFS : 4) 40 100", " (Apple_Free : 5) 140 4",
                    "GPT Partition Data (Backup GPT Table : 6) 144 32", "GPT Header (Backup GPT Header : 7) 176 1"));
}

TEST(DiskLayout, NamesTheRangesOfAnApmDisk) {
    EXPECT_THAT(rowsOf(laidOut(Layout::kApm)),
                testing::ElementsAre("Driver Descriptor Map (DDM : 0) 0 1", "Apple (Apple_partition_map : 1) 1 63",
                                     "disk image (Apple_HFS : 2) 64 100"));
}

TEST(DiskLayout, CoversTheWholeDiskWithRanges) {
    for (const Layout layout : {Layout::kNone, Layout::kGpt, Layout::kApm}) {
        for (const std::size_t sectors : {1U, 8U, 100U, 104U}) {
            const NewDisk disk = laidOut(layout, sectors);
            std::uint64_t next = 0;
            for (const DiskRange& range : disk.ranges) {
                EXPECT_EQ(range.firstSector, next);
                next += range.sectorCount;
            }
            EXPECT_EQ(next * 512, disk.disk->size());
        }
    }
}

TEST(DiskLayout, GivesTheSameDiskForTheSameFileSystem) {
    EXPECT_EQ(readAll(*laidOut(Layout::kGpt).disk), readAll(*laidOut(Layout::kGpt).disk));
}

TEST(DiskLayout, RefusesWhatDoesNotFit) {
    EXPECT_EQ(errorOfLayout(0, Layout::kNone, "Apple_HFS"), ImageError::Kind::kUnsupported);
    EXPECT_EQ(errorOfLayout(511, Layout::kGpt, "Apple_HFS"), ImageError::Kind::kUnsupported);
    EXPECT_EQ(errorOfLayout(512, Layout::kGpt, "Apple_Unheard_Of"), ImageError::Kind::kUnsupported);
    EXPECT_EQ(errorOfLayout(512, Layout::kApm, std::string(32, 'a')), ImageError::Kind::kUnsupported);
}

} // namespace hdi::test
