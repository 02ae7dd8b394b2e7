#include "hdiutil/create/HfsVolumeWriter.h"
#include "hdiutil/tests/create/HfsCheck.h"
#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/volume/Numbers.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <thread>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

// A folder like an application's, with everything that a volume can hold.
void makeSource(const std::string& folder) {
    fs::create_directories(folder + "/App.app/Contents/MacOS");
    fs::create_directories(folder + "/App.app/Contents/Frameworks/F.framework/Versions/A");
    fs::create_directories(folder + "/empty folder");
    writeFile(folder + "/App.app/Contents/MacOS/run", bytesOf("#!/bin/sh\necho hello\n"));
    fs::permissions(folder + "/App.app/Contents/MacOS/run", fs::perms(0755));
    fs::create_symlink("A", folder + "/App.app/Contents/Frameworks/F.framework/Versions/Current");
    fs::create_symlink("/Applications", folder + "/Applications");
    fs::create_symlink("no such file", folder + "/dangling");
    writeFile(folder + "/large", noise(5'000'001, 1));
    writeFile(folder + "/whole blocks", noise(8192, 2));
    writeFile(folder + "/one byte", bytesOf("x"));
    writeFile(folder + "/nothing", {});
    writeFile(folder + "/a:b", bytesOf("colon"));
    writeFile(folder + "/\u00c4rger \u1e69 \ud55c\uae00 \u212b \U0001f600", bytesOf("composed"));
    writeFile(folder + "/" + std::string(255, 'n'), bytesOf("long"));
    writeFile(folder + "/.hidden", bytesOf("hidden"));
    fs::permissions(folder + "/one byte", fs::perms(0400));
    fs::permissions(folder + "/empty folder", fs::perms(0700));
}

std::unique_ptr<Volume> onlyVolume(const ByteSourcePtr& source) {
    auto volumes = openVolumes(source);
    EXPECT_EQ(volumes.size(), 1U);
    return std::move(volumes.at(0));
}

// Of the only file, whose name is "file": what stands behind its key, whose parent is the root folder.
Bytes catalogRecordOfFile(const Bytes& volume) {
    constexpr std::string_view kEndOfKey("\0\0\0\2\0\4\0f\0i\0l\0e\0\2", 16); // with the type of the record
    const auto key = std::search(volume.begin(), volume.end(), kEndOfKey.begin(), kEndOfKey.end(),
                                 [](std::byte a, char b) { return a == static_cast<std::byte>(b); });
    EXPECT_NE(key, volume.end());
    return {key + 14, volume.end()};
}

class WrittenVolume : public testing::TestWithParam<HfsKind> {};

TEST_P(WrittenVolume, HasTheTreeOfItsSource) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    EXPECT_EQ(readTree(*onlyVolume(image)), readFolder(folder / "source"));
}

TEST_P(WrittenVolume, HasFreeRoomUpToTheSizeThatWasAskedFor) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    for (const std::uint64_t size : {std::uint64_t{1} << 20U, std::uint64_t{20} << 20U, std::uint64_t{300} << 20U}) {
        const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam(), size);
        EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
        const auto volume = onlyVolume(image);
        EXPECT_EQ(readTree(*volume), readFolder(folder / "source"));
        const bool fits = size > (std::uint64_t{1} << 20U);
        EXPECT_EQ(image->size() == size, fits); // five megabytes do not fit into one
        EXPECT_EQ(volume->freeSpace() > 0, fits);
    }
}

TEST_P(WrittenVolume, IsEmptyWithoutASource) {
    const ByteSourcePtr image = createHfsPlus("", "Volume", GetParam(), std::uint64_t{10} << 20U);
    EXPECT_EQ(image->size(), std::uint64_t{10} << 20U);
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    const auto volume = onlyVolume(image);
    EXPECT_EQ(volume->name(), "Volume");
    EXPECT_TRUE(volume->list(volume->root()).empty());
    EXPECT_GT(volume->freeSpace(), std::uint64_t{9} << 20U);
}

// 7-Zip shows a slash, which stands for a colon, as an underscore, and does not say which of two such names it means.
TEST_P(WrittenVolume, HasTheTreeThat7ZipReads) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    fs::remove(folder / "source/a:b");
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    writeFile(folder / "raw.hfs", readAll(*image));
    EXPECT_EQ(readWith7z(folder / "raw.hfs", folder / "x"), readFolder(folder / "source"));
    EXPECT_THAT(run(SEVEN_ZIP " t " + folder / "raw.hfs"), testing::HasSubstr("Everything is Ok"));
}

TEST_P(WrittenVolume, KeepsTimesAndOwners) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    writeFile(folder / "source/file", bytesOf("x"));
    const timeval times[] = {{1'000'000'000, 0}, {1'234'567'890, 999}};
    ASSERT_EQ(::utimes((folder / "source/file").c_str(), times), 0);
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    const auto volume = onlyVolume(image);
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "file")).modified.tv_sec, 1'234'567'890);
    const Bytes record = catalogRecordOfFile(readAll(*image));
    EXPECT_EQ(be32(record, 32), ::getuid());
    EXPECT_EQ(be32(record, 36), ::getgid());
}

// Linux holds 255 bytes, the format 255 decomposed units; decomposed as UTF-8 these names have up to 765 bytes.
TEST_P(WrittenVolume, ShowsNamesComposedThatAreTooLongDecomposed) {
    std::string hangul;
    std::string umlauts;
    for (int i = 0; i < 85; ++i) {
        hangul += "\ud55c";
        umlauts += "\u00fc";
    }
    umlauts += std::string(85, 'u');
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    writeFile(folder / ("source/" + hangul), bytesOf("hangul"));
    writeFile(folder / ("source/" + umlauts), bytesOf("umlauts"));
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    const auto volume = onlyVolume(image);
    std::vector<std::string> names;
    for (const DirectoryEntry& entry : volume->list(volume->root())) {
        names.push_back(entry.name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre(hangul, umlauts));
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, hangul)), "hangul");
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, umlauts)), "umlauts");
}

// 7-Zip shows each name of such a file as an empty file of its own: the source is what counts.
TEST_P(WrittenVolume, KeepsHardLinksTogether) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "source/sub");
    writeFile(folder / "source/one", bytesOf("shared contents"));
    fs::create_hard_link(folder / "source/one", folder / "source/sub/two");
    fs::create_hard_link(folder / "source/one", folder / "source/three");
    writeFile(folder / "source/\x7f after the private folder", bytesOf("other"));
    writeFile(folder / "source/outside", bytesOf("its other name is not in the source"));
    fs::create_hard_link(folder / "source/outside", folder / "elsewhere");
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    const auto volume = onlyVolume(image);
    EXPECT_EQ(readTree(*volume), readFolder(folder / "source"));
    EXPECT_EQ(nodeAt(*volume, "one"), nodeAt(*volume, "sub/two"));
    EXPECT_EQ(nodeAt(*volume, "one"), nodeAt(*volume, "three"));
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "one")).links, 3U);
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "outside")).links, 1U);
}

TEST_P(WrittenVolume, HoldsThousandsOfFilesInTreesOfThreeLevels) {
    const TemporaryFolder folder;
    for (int i = 0; i < 10; ++i) {
        const std::string sub = folder / ("source/a folder with a longish name " + std::to_string(i));
        fs::create_directories(sub);
        for (int j = 0; j < 800; ++j) {
            writeFile(sub + "/a file with a name of a common length " + std::to_string(j), {});
        }
    }
    const ByteSourcePtr image = createHfsPlus(folder / "source", "Volume", GetParam());
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    EXPECT_EQ(readTree(*onlyVolume(image)).size(), 8010U);
}

TEST_P(WrittenVolume, CanBeEmpty) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    const ByteSourcePtr image = createHfsPlus(folder / "source", "N\u00e4me", GetParam());
    EXPECT_THAT(checkHfsVolume(readAll(*image)), testing::IsEmpty());
    const auto volume = onlyVolume(image);
    EXPECT_THAT(volume->list(volume->root()), testing::IsEmpty());
    EXPECT_EQ(volume->name(), "Na\u0308me");
}

INSTANTIATE_TEST_SUITE_P(Both, WrittenVolume, testing::Values(HfsKind::kPlus, HfsKind::kX));

TEST(HfsVolumeWriter, TellsCaseOnlyOnHfsx) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    writeFile(folder / "source/Name", bytesOf("upper"));
    writeFile(folder / "source/name", bytesOf("lower"));
    EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "source", "V", HfsKind::kPlus); }), ImageError::Kind::kUnsupported);
    const auto volume = onlyVolume(createHfsPlus(folder / "source", "V", HfsKind::kX));
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "Name")), "upper");
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "name")), "lower");
    EXPECT_EQ(volume->lookUp(volume->root(), "NAME"), std::nullopt);
}

TEST(HfsVolumeWriter, RefusesWhatTheFormatCannotHoldAndSaysWhere) {
    std::string longName; // 200 bytes, but 300 units once decomposed
    for (int i = 0; i < 100; ++i) {
        longName += "\u0390";
    }
    const std::pair<const char*, std::string> cases[] = {
        {"not UTF-8", "bad \xff name"},
        {"more than 255 units", longName},
        {"the format's own", ".HFS+ Private Directory Data\r"},
    };
    for (const auto& [what, name] : cases) {
        const TemporaryFolder folder;
        fs::create_directory(folder / "source");
        writeFile(folder / "source/" + name, {});
        try {
            createHfsPlus(folder / "source", "V", HfsKind::kPlus);
            ADD_FAILURE() << what;
        } catch (const ImageError& error) {
            EXPECT_EQ(error.kind(), ImageError::Kind::kUnsupported) << what;
            EXPECT_THAT(error.what(), testing::HasSubstr(name)) << what;
        }
    }
}

TEST(HfsVolumeWriter, RefusesTwoNamesThatAreOneInDecomposedForm) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    writeFile(folder / "source/\u00e9", {});
    writeFile(folder / "source/e\u0301", {});
    for (const HfsKind kind : {HfsKind::kPlus, HfsKind::kX}) {
        EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "source", "V", kind); }), ImageError::Kind::kUnsupported);
    }
}

TEST(HfsVolumeWriter, RefusesPipesMissingFoldersAndUnusableVolumeNames) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "none", "V", HfsKind::kPlus); }), ImageError::Kind::kIo);
    EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "source", "", HfsKind::kPlus); }), ImageError::Kind::kUnsupported);
    EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "source", "\xff", HfsKind::kPlus); }),
              ImageError::Kind::kUnsupported);
    ASSERT_EQ(::mkfifo((folder / "source/pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf([&] { createHfsPlus(folder / "source", "V", HfsKind::kPlus); }), ImageError::Kind::kUnsupported);
}

TEST(HfsVolumeWriter, NoticesFilesThatShrinkGrowGoOrAreReplaced) {
    const std::pair<const char*, void (*)(const std::string&)> changes[] = {
        {"shrunk", [](const std::string& path) { fs::resize_file(path, 10); }},
        {"grown", [](const std::string& path) { fs::resize_file(path, 200'000); }},
        {"gone", [](const std::string& path) { fs::remove(path); }},
        {"a link now",
         [](const std::string& path) {
             fs::rename(path, path + "2");
             fs::create_symlink(path + "2", path);
         }},
    };
    for (const auto& [what, change] : changes) {
        const TemporaryFolder folder;
        fs::create_directory(folder / "source");
        writeFile(folder / "source/file", noise(100'000, 1));
        const ByteSourcePtr image = createHfsPlus(folder / "source", "V", HfsKind::kPlus);
        change(folder / "source/file");
        EXPECT_EQ(errorOf([&] { readAll(*image); }), ImageError::Kind::kIo) << what;
    }
}

TEST(HfsVolumeWriter, HoldsFilesBeyondFourGigabytes) {
    constexpr std::uint64_t kSize = 5'000'000'000;
    const TemporaryFolder folder;
    fs::create_directory(folder / "source");
    writeFile(folder / "source/huge", bytesOf("begin"));
    fs::resize_file(folder / "source/huge", kSize); // a hole
    writeFile(folder / "source/next", bytesOf("behind it"));
    const auto volume = onlyVolume(createHfsPlus(folder / "source", "V", HfsKind::kPlus));
    EXPECT_GT(volume->capacity(), kSize);
    const NodeId huge = nodeAt(*volume, "huge");
    EXPECT_EQ(volume->attributes(huge).size, kSize);
    Bytes part(100);
    EXPECT_EQ(volume->read(huge, kSize - 7, part), 7U);
    EXPECT_EQ(volume->read(huge, 0, part), 100U);
    EXPECT_EQ(part[0], std::byte{'b'});
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "next")), "behind it");
}

TEST(HfsVolumeWriter, GivesTheSameBytesHoweverTheyAreAskedFor) {
    const TemporaryFolder folder;
    makeSource(folder / "source");
    const ByteSourcePtr image = createHfsPlus(folder / "source", "V", HfsKind::kPlus);
    const Bytes whole = readAll(*image);
    std::mt19937_64 random(7);
    for (int i = 0; i < 500; ++i) {
        const std::size_t offset = random() % whole.size();
        const std::size_t length = std::min<std::size_t>(random() % 20'000, whole.size() - offset);
        Bytes part(length);
        image->read(offset, part);
        ASSERT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + static_cast<std::ptrdiff_t>(offset)));
    }
    Bytes tooFar(1);
    EXPECT_EQ(errorOf([&] { image->read(image->size(), tooFar); }), ImageError::Kind::kOutOfRange);
}

} // namespace
} // namespace hdi::test
