#include "hdiutil/create/ChunkEncoder.h"
#include "hdiutil/tests/front/FrontWorld.h"
#include "hdiutil/tests/image/TestImage.h"
#include "hdiutil/tests/volume/HfsBuilder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

// Images that somebody made to do harm, given to the real tool: it says no within seconds, or shows them without harm.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

Bytes wholeSectors(Bytes bytes) {
    bytes.resize((bytes.size() + 511) / 512 * 512);
    return bytes;
}

Bytes volumeWithAFile() {
    HfsBuilder builder;
    builder.file(HfsBuilder::kRoot, u"file", bytesOf("text"));
    return builder.build();
}

// The catalog's first leaf says that it follows itself.
Bytes leafAfterItself() {
    Bytes volume = volumeWithAFile();
    constexpr std::size_t kCatalogFork = 1024 + 272;
    const std::size_t catalog = std::size_t{loadBig<std::uint32_t>(volume, kCatalogFork + 16)} * HfsBuilder::kBlock;
    storeBig<std::uint32_t>(std::span(volume), catalog + 4096, 1);
    return wholeSectors(volume);
}

// Forty folders by hard links, each of which holds the next one twice.
Bytes pathsBeyondMeasure() {
    HfsBuilder builder;
    const std::uint32_t hidden = builder.folder(HfsBuilder::kRoot, hfs::kFolderLinkFolder);
    for (std::uint32_t i = 0; i < 40; ++i) {
        const std::string digits = std::to_string(i);
        const std::uint32_t level = builder.folder(hidden, u"dir_" + std::u16string(digits.begin(), digits.end()));
        builder.folderLink(level, u"left", i + 1);
        builder.folderLink(level, u"right", i + 1);
    }
    builder.folderLink(HfsBuilder::kRoot, u"top", 0);
    return wholeSectors(builder.build());
}

// An image whose list of tables is this text.
Bytes withList(const std::string& xml) {
    TestImage image;
    image.sectorCount = 8;
    image.addTable(0, 8);
    image.addRun(RunType::kRaw, 0, 8, Bytes(4096));
    UdifTrailer trailer = image.trailer();
    trailer.plistLength = xml.size();
    const auto end = udifTrailerBytes(trailer);
    return image.data + bytesOf(xml) + Bytes(end.begin(), end.end());
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

Bytes nestedList() {
    return withList("<plist version=\"1.0\">" + repeated("<array>", 200000) + repeated("</array>", 200000) +
                    "</plist>");
}

Bytes entityBomb() {
    std::string xml = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a0 \"ha\">";
    for (int i = 1; i < 40; ++i) {
        const std::string before = "&a" + std::to_string(i - 1) + ";";
        xml += "<!ENTITY a" + std::to_string(i) + " \"" + before + before + "\">";
    }
    return withList(xml + "]><plist version=\"1.0\"><string>&a39;</string></plist>");
}

Bytes hugeList() {
    return withList("<plist version=\"1.0\"><string>" + std::string(17 << 20, 'x') + "</string></plist>");
}

// Both say what the same sectors hold.
Bytes overlappingTables() {
    TestImage image;
    image.sectorCount = 16;
    for (int table = 0; table < 2; ++table) {
        image.addTable(0, 16);
        image.addRun(RunType::kRaw, 0, 16, Bytes(8192));
    }
    return image.bytes();
}

// The run's bytes are the list that tells of them, and go on behind the file.
Bytes runThatIsItsOwnList() {
    TestImage image;
    image.sectorCount = 1 << 20;
    image.addTable(0, 1 << 20);
    image.tables.back().runs.push_back({RunType::kZlib, 0, 128, 0, std::uint64_t{1} << 40});
    return image.bytes();
}

// A few bytes that claim to become sixteen gibibytes, in one chunk.
Bytes oneChunkBomb() {
    TestImage image;
    image.sectorCount = std::uint64_t{1} << 25;
    image.addTable(0, image.sectorCount);
    image.addRun(RunType::kZlib, 0, image.sectorCount,
                 encodeChunk(RunType::kZlib, Bytes(1 << 20, std::byte{7})).stored);
    return image.bytes();
}

// A disk of an exbibyte, all zeros.
Bytes zerosWithoutEnd() {
    TestImage image;
    image.sectorCount = std::uint64_t{1} << 51;
    image.addTable(0, image.sectorCount);
    image.addRun(RunType::kZero, 0, image.sectorCount);
    return image.bytes();
}

struct Hostile {
    const char* name;
    Bytes (*make)();
    const char* reason;
};

void PrintTo(const Hostile& hostile, std::ostream* out) {
    *out << hostile.name;
}

const Hostile kHostile[] = {
    {"LeafAfterItself", leafAfterItself,
     "image data corrupted (a B-tree's chain of leaves leads outside the file or into a circle)"},
    {"PathsBeyondMeasure", pathsBeyondMeasure,
     "image data corrupted (the volume's folders are linked into too many paths)"},
    {"ListNestedTooDeep", nestedList,
     "image data corrupted (the image's property list is too large or not plain enough)"},
    {"ListWithAnEntityBomb", entityBomb,
     "image data corrupted (the image's property list is too large or not plain enough)"},
    {"ListTooLong", hugeList, "image data corrupted (the image's property list is too large)"},
    {"OverlappingTables", overlappingTables, "image data corrupted (chunks of the image overlap)"},
    {"RunThatIsItsOwnList", runThatIsItsOwnList,
     "image data corrupted (a chunk lies beyond the end of the image file)"},
    {"OneChunkBomb", oneChunkBomb, "image data corrupted (a chunk's length does not fit its sectors)"},
    {"ZerosWithoutEnd", zerosWithoutEnd, "no mountable file systems"},
};

class HostileImage : public FrontWorld, public testing::WithParamInterface<std::tuple<Way, Hostile>> {};
INSTANTIATE_TEST_SUITE_P(Table, HostileImage,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted), testing::ValuesIn(kHostile)),
                         [](const auto& instance) {
                             return std::get<1>(instance.param).name + nameOf(std::get<0>(instance.param));
                         });

TEST_P(HostileImage, IsRefusedWithinSecondsAndLeavesNothing) {
    const auto& [way, hostile] = GetParam();
    const std::string path = base() + "/image.dmg";
    writeFile(path, hostile.make());
    const Outcome outcome = runProgram(inWay(way, command({"mount", path})), std::chrono::seconds(20));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, std::string("hdiutil: attach failed - ") + hostile.reason + "\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

class HostileVolume : public BothWays {
protected:
    Outcome mountVolume(HfsBuilder& builder) const {
        writeFile(base() + "/image.img", wholeSectors(builder.build()));
        return mount({"mount", base() + "/image.img"});
    }
    static Words namesIn(const std::string& folder) {
        Words names;
        for (const auto& entry : fs::directory_iterator(folder)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
};
INSTANTIATE_TEST_SUITE_P(Both, HostileVolume, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(HostileVolume, ShowsNamesThatStayInsideIt) {
    HfsBuilder builder(HfsBuilder::Names::kHfsxBinary);
    for (const std::u16string& name :
         {std::u16string(u"a/b"), std::u16string(u"."), std::u16string(u".."), std::u16string(u"../../up"),
          std::u16string(u"nul\0", 4), std::u16string(255, u'\u4e2d'), std::u16string(u"line\nend")}) {
        builder.file(HfsBuilder::kRoot, name, bytesOf("text"));
    }
    const Outcome outcome = mountVolume(builder);
    EXPECT_THAT(outcome.out, testing::EndsWith("\t/Volumes/Volume\n"));
    EXPECT_THAT(namesIn(volumes() + "/Volume"),
                testing::UnorderedElementsAre("a:b", ".#11", "..#12", "..:..:up", "nul\xE2\x90\x80", "line\nend",
                                              repeated("\xE4\xB8\xAD", 84) + "#15"));
    for (const std::string& name : namesIn(volumes() + "/Volume")) {
        EXPECT_TRUE(readFile(volumes() + "/Volume/" + name) == bytesOf("text")) << name;
    }
    EXPECT_THAT(namesIn(volumes()), testing::UnorderedElementsAre(".hdiutil", "Volume"));
}

TEST_P(HostileVolume, HasANameThatIsOneEntryAndOneLine) {
    HfsBuilder builder(HfsBuilder::Names::kHfsPlus, u"../../evil\n/dev/disk9\tApple_HFS\t/etc");
    builder.file(HfsBuilder::kRoot, u"file");
    const Outcome outcome = mountVolume(builder);
    EXPECT_EQ(outcome.out, "/dev/disk2          \t                               "
                           "\t/Volumes/..:..:evil:dev:disk9Apple_HFS:etc\n");
    EXPECT_TRUE(fs::exists(volumes() + "/..:..:evil:dev:disk9Apple_HFS:etc/file"));
}

TEST_P(HostileVolume, KeepsLinksToOutsideAsTheyAre) {
    std::ofstream(base() + "/outside") << "untouched";
    HfsBuilder builder;
    builder.symlink(HfsBuilder::kRoot, u"absolute", base() + "/outside");
    builder.symlink(HfsBuilder::kRoot, u"relative", "../../../../../../../../etc/passwd");
    EXPECT_EQ(mountVolume(builder).status, 0);
    EXPECT_EQ(fs::read_symlink(volumes() + "/Volume/absolute"), base() + "/outside");
    EXPECT_EQ(fs::read_symlink(volumes() + "/Volume/relative"), "../../../../../../../../etc/passwd");
    EXPECT_EQ(hdiutil({"detach", "disk2"}).status, 0);
    EXPECT_TRUE(readFile(base() + "/outside") == bytesOf("untouched"));
}

// Reading it through FUSE is an error of that one file; extraction meets it, and says no.
TEST_P(HostileVolume, WithAFileOutsideItGivesAnErrorOnlyThere) {
    HfsFileItem item;
    item.data.logicalSize = 100;
    item.data.extents[0] = {1U << 31, 1};
    HfsBuilder builder;
    builder.file(HfsBuilder::kRoot, u"good", bytesOf("good"));
    builder.file(HfsBuilder::kRoot, u"outside", {}, item);
    const Outcome outcome = mountVolume(builder);
    if (GetParam() == Way::kExtracted) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, HasSubstr("attach failed - image data corrupted ("));
        EXPECT_THAT(leftovers(), IsEmpty());
        return;
    }
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(readFile(volumes() + "/Volume/good") == bytesOf("good"));
    const Outcome bad = runProgram({"cat", volumes() + "/Volume/outside"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.err, HasSubstr("Input/output error"));
}

TEST_P(HostileVolume, MayHaveThousandsOfFoldersInEachOther) {
    HfsBuilder builder;
    std::uint32_t folder = HfsBuilder::kRoot;
    for (int i = 0; i < 5000; ++i) {
        folder = builder.folder(folder, u"f");
    }
    const Outcome outcome = mountVolume(builder);
    if (GetParam() == Way::kExtracted) {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, "hdiutil: attach failed - folders lie too deep inside each other to be extracted\n");
        EXPECT_THAT(leftovers(), IsEmpty());
        return;
    }
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(fs::exists(volumes() + "/Volume/f/f/f/f/f/f/f/f"));
    EXPECT_EQ(hdiutil({"detach", "disk2"}).status, 0);
}

} // namespace
} // namespace hdi::test
