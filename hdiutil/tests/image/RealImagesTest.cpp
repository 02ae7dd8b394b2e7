#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/image/Tools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace hdi::test {

namespace {

std::string pathOf(const std::string& name) {
    return std::string(TEST_IMAGES) + "/" + name;
}

struct RealImage {
    const char* name;
    const char* format;
    std::uint64_t diskBytes;
    bool hasDataChecksum;
    const char* scheme;
    std::vector<std::string> partitions;
    const char* extension; // that 7-Zip gives the file system

    friend std::ostream& operator<<(std::ostream& out, const RealImage& image) { return out << image.name; }
};

class RealImages : public testing::TestWithParam<RealImage> {};

std::vector<std::string> rowsOf(const PartitionMap& map) {
    std::vector<std::string> rows;
    for (const Partition& partition : map.partitions) {
        rows.push_back(std::to_string(partition.number) + " " + partition.content + " " +
                       std::to_string(partition.offset) + " " + std::to_string(partition.length));
    }
    return rows;
}

} // namespace

TEST_P(RealImages, AreWhatTheyAreKnownToBe) {
    const auto image = DiskImage::open(pathOf(GetParam().name));
    EXPECT_EQ(image->facts().format, GetParam().format);
    EXPECT_EQ(image->facts().diskBytes, GetParam().diskBytes);
    EXPECT_EQ(image->facts().hasDataForkChecksum, GetParam().hasDataChecksum);
    const PartitionMap map = readPartitionMap(*image->disk());
    EXPECT_EQ(map.scheme, GetParam().scheme);
    EXPECT_EQ(rowsOf(map), GetParam().partitions);
}

TEST_P(RealImages, MatchAllTheirChecksums) {
    const auto image = DiskImage::open(pathOf(GetParam().name));
    EXPECT_EQ(image->verifyDataFork(), GetParam().hasDataChecksum);
    EXPECT_EQ(errorOf([&] { image->verifyTables(nullptr); }), std::nullopt);
}

TEST_P(RealImages, GiveTheFileSystemThat7ZipReads) {
    const auto image = DiskImage::open(pathOf(GetParam().name));
    const Partition partition = readPartitionMap(*image->disk()).partitions.back();
    const Bytes expected =
        outputOf(SEVEN_ZIP " e -so -tdmg '" + pathOf(GetParam().name) + "' '*." + GetParam().extension + "'");
    ASSERT_FALSE(expected.empty());
    EXPECT_TRUE(readAll(*slice(image->disk(), partition.offset, partition.length)) == expected);
}

INSTANTIATE_TEST_SUITE_P(All, RealImages,
                         testing::Values(RealImage{"apfs-gpt-adc-empty.dmg",
                                                   "UDCO",
                                                   10510336,
                                                   true,
                                                   "GUID_partition_scheme",
                                                   {"1 Apple_APFS 20480 10469376"},
                                                   "apfs"},
                                         RealImage{"apfs-gpt-lzfse-empty.dmg",
                                                   "ULFO",
                                                   10510336,
                                                   true,
                                                   "GUID_partition_scheme",
                                                   {"1 Apple_APFS 20480 10469376"},
                                                   "apfs"},
                                         RealImage{"apfs-gpt-zlib-one-file.dmg",
                                                   "UDZO",
                                                   10519552,
                                                   false,
                                                   "GUID_partition_scheme",
                                                   {"1 Apple_APFS 20480 10481664"},
                                                   "apfs"},
                                         RealImage{"hfsplus-apm-bzip2-licence.dmg",
                                                   "UDBZ",
                                                   9437184,
                                                   true,
                                                   "Apple_partition_scheme",
                                                   {"1 Apple_partition_map 512 32256", "2 Apple_HFS 32768 9404416"},
                                                   "hfs"},
                                         RealImage{"hfsplus-gpt-zlib-links.dmg",
                                                   "UDZO",
                                                   1954304,
                                                   false,
                                                   "GUID_partition_scheme",
                                                   {"1 Apple_HFS 20480 1916928"},
                                                   "hfs"},
                                         RealImage{"hfsplus-gpt-zlib-stub-app.dmg",
                                                   "UDZO",
                                                   2469888,
                                                   false,
                                                   "GUID_partition_scheme",
                                                   {"1 Apple_HFS 20480 2428928"},
                                                   "hfs"}));

TEST(RealImages, AreRefusedWhenEncryptedAndNoPasswordIsGiven) {
    EXPECT_EQ(errorOf([] { DiskImage::open(pathOf("encrypted.dmg")); }), ImageError::Kind::kEncrypted);
}

TEST(RealImages, ShowTheirLicence) {
    EXPECT_THAT(DiskImage::open(pathOf("hfsplus-apm-bzip2-licence.dmg"))->licences(),
                testing::ElementsAre("Blah blah blah blah blah blah, ok.. Agree."));
    EXPECT_THAT(DiskImage::open(pathOf("hfsplus-gpt-zlib-links.dmg"))->licences(), testing::IsEmpty());
}

} // namespace hdi::test
