#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/tests/image/TestBytes.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gmock/gmock.h>

namespace hdi::test {
namespace {

std::string image(const std::string& name) {
    return std::string(TEST_IMAGES) + "/" + name;
}

// A partition of an image, unpacked by 7-Zip, so that these tests do not depend on our own container reader.
ByteSourcePtr partition(const std::string& name, const std::string& extension) {
    return inMemory(bytesOf(run(SEVEN_ZIP " e -so -tdmg " + image(name) + " '*." + extension + "'")));
}

std::unique_ptr<Volume> onlyVolume(const ByteSourcePtr& partition) {
    auto volumes = openVolumes(partition);
    EXPECT_EQ(volumes.size(), 1U);
    return std::move(volumes.at(0));
}

class RealHfsImage : public testing::TestWithParam<const char*> {};

TEST_P(RealHfsImage, HasTheTreeThat7ZipReads) {
    const TemporaryFolder folder;
    const Tree expected = readWith7z(image(GetParam()), folder / "x");
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(readTree(*onlyVolume(partition(GetParam(), "hfs"))), expected);
}

INSTANTIATE_TEST_SUITE_P(All, RealHfsImage,
                         testing::Values("hfsplus-apm-bzip2-licence.dmg", "hfsplus-gpt-zlib-links.dmg",
                                         "hfsplus-gpt-zlib-stub-app.dmg"));

TEST(RealHfsImages, SayWhatTheyAre) {
    const auto volume = onlyVolume(partition("hfsplus-gpt-zlib-links.dmg", "hfs"));
    EXPECT_EQ(volume->name(), "hfsplus_test");
    EXPECT_EQ(volume->capacity(), 1916928U);
    EXPECT_EQ(volume->freeSpace(), 1638400U);
}

TEST(RealHfsImages, ShowLinksModesAndTimes) {
    const auto volume = onlyVolume(partition("hfsplus-gpt-zlib-links.dmg", "hfs"));
    EXPECT_EQ(volume->linkTarget(nodeAt(*volume, "a_link")), "a_directory/another_file");
    const Attributes file = volume->attributes(nodeAt(*volume, "passwords.txt"));
    EXPECT_EQ(file.kind, NodeKind::kFile);
    EXPECT_EQ(file.mode, 0644U);
    EXPECT_EQ(file.size, 116U);
    EXPECT_EQ(file.links, 1U);
    EXPECT_EQ(file.modified.tv_sec, 1642144782); // 2022-01-14 07:19:42 UTC
    EXPECT_EQ(file.changed.tv_sec, 1642144784);
}

TEST(RealHfsImages, HideTheJournalAndThePrivateFolders) {
    const auto volume = onlyVolume(partition("hfsplus-gpt-zlib-stub-app.dmg", "hfs"));
    std::vector<std::string> names;
    for (const DirectoryEntry& entry : volume->list(volume->root())) {
        names.push_back(entry.name);
    }
    EXPECT_THAT(names, testing::ElementsAre("Transmission.app"));
    EXPECT_EQ(volume->lookUp(volume->root(), ".journal"), std::nullopt);
}

TEST(RealHfsImages, FindNamesWithoutRegardToCase) {
    const auto volume = onlyVolume(partition("hfsplus-gpt-zlib-stub-app.dmg", "hfs"));
    EXPECT_EQ(nodeAt(*volume, "TRANSMISSION.APP/contents/mACos"), nodeAt(*volume, "Transmission.app/Contents/MacOS"));
}

class RealApfsImage : public testing::TestWithParam<const char*> {};

TEST_P(RealApfsImage, HasTheTreeThat7ZipReads) {
    const TemporaryFolder folder;
    const Tree expected = readWith7z(image(GetParam()), folder / "x", false);
    EXPECT_EQ(readTree(*onlyVolume(partition(GetParam(), "apfs"))), expected);
}

INSTANTIATE_TEST_SUITE_P(All, RealApfsImage,
                         testing::Values("apfs-gpt-adc-empty.dmg", "apfs-gpt-lzfse-empty.dmg",
                                         "apfs-gpt-zlib-one-file.dmg"));

// The root's record lies at this place of the partition, its values in the order of Apple's reference: the folder it is
// in, its own number, then the times of creation, modification and change of its attributes.
TEST(RealApfsImages, ShowTheTimesThatTheirRecordsHold) {
    constexpr std::size_t kRecord = 95 * 4096 + 3930;
    const ByteSourcePtr source = partition("apfs-gpt-zlib-one-file.dmg", "apfs");
    std::array<std::byte, 40> record{};
    source->read(kRecord, record);
    ASSERT_EQ(loadLittle<std::uint64_t>(record, 8), 2U);
    EXPECT_EQ(loadLittle<std::uint64_t>(record, 16), 1616953648'428532831U);
    EXPECT_EQ(loadLittle<std::uint64_t>(record, 24), 1616953648'935511575U);
    EXPECT_EQ(loadLittle<std::uint64_t>(record, 32), 1616953649'943555106U);
    const auto volume = onlyVolume(source);
    const Attributes root = volume->attributes(volume->root());
    EXPECT_EQ(root.modified.tv_sec, 1616953648);
    EXPECT_EQ(root.modified.tv_nsec, 935511575);
    EXPECT_EQ(root.changed.tv_sec, 1616953649);
    EXPECT_EQ(root.changed.tv_nsec, 943555106);
}

TEST(RealApfsImages, SayWhatTheyAre) {
    const auto volume = onlyVolume(partition("apfs-gpt-zlib-one-file.dmg", "apfs"));
    EXPECT_EQ(volume->name(), "container-apfs");
    EXPECT_EQ(volume->capacity(), 10481664U);
    const NodeId file = nodeAt(*volume, "CONTAINER");
    EXPECT_EQ(readFile(*volume, file).size(), 17U);
    const Attributes attributes = volume->attributes(file);
    EXPECT_EQ(attributes.modified.tv_sec, 1616953332); // 2021-03-28 17:42:12 UTC
    EXPECT_EQ(attributes.mode, 0755U);
}

} // namespace
} // namespace hdi::test
