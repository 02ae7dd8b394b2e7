#include "hdiutil/tests/volume/HfsBuilder.h"
#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/volume/HfsVolume.h"

#include <gmock/gmock.h>

namespace hdi::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::unique_ptr<Volume> open(const Bytes& bytes) {
    return HfsVolume::open(inMemory(bytes));
}

std::vector<std::string> namesIn(const Volume& volume, NodeId folder) {
    std::vector<std::string> names;
    for (const DirectoryEntry& entry : volume.list(folder)) {
        names.push_back(entry.name);
    }
    return names;
}

TEST(HfsVolume, ReadsFragmentedFilesAndAFragmentedCatalog) {
    HfsBuilder builder;
    const Bytes large = noise(100 * 512 + 77, 1);
    builder.fragment(3); // 34 extents: 8 in the catalog, the others in the overflow file
    builder.file(HfsBuilder::kRoot, u"large", large);
    builder.fragment(1);
    builder.file(HfsBuilder::kRoot, u"small", noise(8 * 512, 2));       // just as many as the catalog holds
    builder.file(HfsBuilder::kRoot, u"shattered", noise(600 * 512, 3)); // more than one leaf of the overflow file
    for (int i = 0; i < 40; ++i) {
        builder.file(HfsBuilder::kRoot, u"filler " + std::u16string(1, static_cast<char16_t>(u'A' + i)));
    }
    builder.fragmentCatalog();
    const auto volume = open(builder.build());
    EXPECT_EQ(volume->list(volume->root()).size(), 43U);
    EXPECT_EQ(bytesOf(readFile(*volume, nodeAt(*volume, "large"))), large);
    EXPECT_EQ(bytesOf(readFile(*volume, nodeAt(*volume, "small"))), noise(8 * 512, 2));
    EXPECT_EQ(bytesOf(readFile(*volume, nodeAt(*volume, "shattered"))), noise(600 * 512, 3));
    Bytes part(1000);
    EXPECT_EQ(volume->read(nodeAt(*volume, "large"), 50'000, part), 1000U);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), large.begin() + 50'000));
    EXPECT_EQ(volume->read(nodeAt(*volume, "large"), large.size() - 10, part), 10U);
    EXPECT_EQ(volume->read(nodeAt(*volume, "large"), large.size(), part), 0U);
    EXPECT_EQ(volume->read(nodeAt(*volume, "large"), UINT64_MAX, part), 0U);
}

TEST(HfsVolume, FindsNamesInAnyNormalFormAndCase) {
    HfsBuilder builder;
    const std::uint32_t file = builder.file(HfsBuilder::kRoot, u"E\u0301te\u0301 \u1100\u1161\u11a8");
    const auto volume = open(builder.build());
    for (const char* name : {"E\u0301te\u0301 \u1100\u1161\u11a8", "\u00c9t\u00e9 \uac01", "\u00e9T\u00c9 \uac01",
                             "\u00e9t\u200de\u0301 \uac01"}) {
        EXPECT_EQ(volume->lookUp(volume->root(), name), file) << name;
    }
    for (const char* name : {"Ete \uac01", "", ".", "..", "\u00c9t\u00e9 \uac01 ", "\xff"}) {
        EXPECT_EQ(volume->lookUp(volume->root(), name), std::nullopt) << name;
    }
    EXPECT_EQ(volume->lookUp(file, "x"), std::nullopt);
}

TEST(HfsVolume, TellsCaseAsTheCatalogSays) {
    HfsBuilder binary(HfsBuilder::Names::kHfsxBinary);
    const std::uint32_t upper = binary.file(HfsBuilder::kRoot, u"NAME\u0301");
    const std::uint32_t lower = binary.file(HfsBuilder::kRoot, u"name\u0301");
    const auto telling = open(binary.build());
    EXPECT_EQ(telling->lookUp(2, "NAM\u00c9"), upper);
    EXPECT_EQ(telling->lookUp(2, "nam\u00e9"), lower);
    EXPECT_EQ(telling->lookUp(2, "Nam\u00e9"), std::nullopt);
    HfsBuilder folding(HfsBuilder::Names::kHfsxFolding);
    const std::uint32_t only = folding.file(HfsBuilder::kRoot, u"Name");
    const auto notTelling = open(folding.build());
    EXPECT_EQ(notTelling->lookUp(2, "NAME"), only);
}

TEST(HfsVolume, MakesNamesSafeAndUnique) {
    HfsBuilder builder(HfsBuilder::Names::kHfsxBinary);
    const std::uint32_t slash = builder.file(HfsBuilder::kRoot, u"a/b", bytesOf("slash"));
    const std::uint32_t colon = builder.file(HfsBuilder::kRoot, u"a:b", bytesOf("colon"));
    builder.file(HfsBuilder::kRoot, u".");
    builder.file(HfsBuilder::kRoot, u"..");
    builder.file(HfsBuilder::kRoot, u"../../up");
    builder.file(HfsBuilder::kRoot, std::u16string(u"nul\0", 4));
    builder.file(HfsBuilder::kRoot, std::u16string(255, u'\u4e2d'));
    builder.file(HfsBuilder::kRoot, u"\xd800 alone");
    builder.file(HfsBuilder::kRoot, u"\xd801 alone");
    const auto volume = open(builder.build());
    EXPECT_EQ(readTree(*volume).size(), 9U); // also looks every name up
    for (const DirectoryEntry& entry : volume->list(2)) {
        EXPECT_EQ(entry.name.find('/'), std::string::npos);
        EXPECT_LE(entry.name.size(), 255U);
    }
    EXPECT_EQ(volume->lookUp(2, "a:b"), slash);
    EXPECT_EQ(volume->lookUp(2, "a:b#11"), colon);
    EXPECT_EQ(volume->lookUp(2, "."), std::nullopt);
    EXPECT_NE(volume->lookUp(2, ".#12"), std::nullopt);
    EXPECT_NE(volume->lookUp(2, "nul\u2400"), std::nullopt);
}

TEST(HfsVolume, DropsSpecialBitsAndGivesModesWhereNoneWereSet) {
    HfsBuilder builder;
    HfsFileItem item;
    item.mode = S_IFREG | 06755;
    builder.file(HfsBuilder::kRoot, u"setuid", {}, item);
    builder.file(HfsBuilder::kRoot, u"unset", {});
    item.mode = S_IFCHR | 0666;
    builder.file(HfsBuilder::kRoot, u"device", {}, item);
    HfsFileItem link;
    link.type = hfs::kSymlinkType;
    link.creator = hfs::kSymlinkCreator;
    builder.file(HfsBuilder::kRoot, u"link by type", bytesOf("target"), link);
    const auto volume = open(builder.build());
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "setuid")).mode, 0755U);
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "unset")).mode, 0755U);
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "device")).kind, NodeKind::kFile);
    EXPECT_EQ(volume->linkTarget(nodeAt(*volume, "link by type")), "target");
}

TEST(HfsVolume, GivesLinkTargetsOfASaneLengthOnly) {
    HfsBuilder builder;
    builder.symlink(HfsBuilder::kRoot, u"plain", "../../../etc/passwd");
    builder.symlink(HfsBuilder::kRoot, u"with an end", std::string("target\0\0", 8));
    builder.symlink(HfsBuilder::kRoot, u"longest", std::string(4096, 'x'));
    builder.symlink(HfsBuilder::kRoot, u"too long", std::string(4097, 'x'));
    builder.symlink(HfsBuilder::kRoot, u"empty", "");
    builder.symlink(HfsBuilder::kRoot, u"nothing but an end", std::string(1, '\0'));
    builder.file(HfsBuilder::kRoot, u"file");
    const auto volume = open(builder.build());
    EXPECT_EQ(volume->linkTarget(nodeAt(*volume, "plain")), "../../../etc/passwd");
    EXPECT_EQ(volume->linkTarget(nodeAt(*volume, "with an end")), "target");
    EXPECT_EQ(volume->linkTarget(nodeAt(*volume, "longest")).size(), 4096U);
    for (const char* name : {"too long", "empty", "nothing but an end", "file"}) {
        EXPECT_EQ(errorOf([&] { volume->linkTarget(nodeAt(*volume, name)); }), ImageError::Kind::kDamaged) << name;
    }
}

class Links : public testing::Test {
protected:
    std::uint32_t fileFolder() {
        return builder.folder(2, std::u16string(hfs::kFileLinkFolder, hfs::kFileLinkFolderUnits));
    }
    std::uint32_t folderFolder() { return builder.folder(2, hfs::kFolderLinkFolder); }

    HfsBuilder builder;
};

TEST_F(Links, OfFilesLeadToOneFile) {
    const std::uint32_t folder = fileFolder();
    const std::uint32_t shared = builder.file(folder, u"iNode77", bytesOf("shared"));
    builder.fileLink(2, u"one", 77);
    builder.fileLink(2, u"two", 77);
    builder.fileLink(2, u"broken", 78);
    const auto volume = open(builder.build());
    EXPECT_THAT(namesIn(*volume, 2), ElementsAre("broken", "one", "two"));
    EXPECT_EQ(volume->lookUp(2, "one"), shared);
    EXPECT_EQ(volume->lookUp(2, "two"), shared);
    EXPECT_EQ(volume->attributes(shared).links, 2U);
    EXPECT_EQ(readFile(*volume, shared), "shared");
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "broken")), "");
}

TEST_F(Links, OfFilesLeadNeitherToLinksNorToFolders) {
    const std::uint32_t folder = fileFolder();
    const std::uint32_t circle = builder.fileLink(folder, u"iNode1", 1);
    builder.folder(folder, u"iNode2");
    builder.fileLink(2, u"to itself", 1);
    const std::uint32_t toFolder = builder.fileLink(2, u"to a folder", 2);
    const auto volume = open(builder.build());
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "to itself")), "");
    EXPECT_EQ(nodeAt(*volume, "to itself"), circle);
    EXPECT_EQ(nodeAt(*volume, "to a folder"), toFolder);
}

TEST_F(Links, OfFoldersLeadToOneFolder) {
    const std::uint32_t hidden = folderFolder();
    const std::uint32_t shared = builder.folder(hidden, u"dir_99");
    builder.file(shared, u"inside", bytesOf("contents"));
    builder.folderLink(2, u"first", 99);
    builder.folderLink(builder.folder(2, u"sub"), u"second", 99);
    HfsFileItem alias; // what the Finder makes: the same type, another flag
    alias.type = hfs::kFolderLinkType;
    alias.creator = hfs::kFolderLinkCreator;
    alias.special = 99;
    builder.file(2, u"alias", {}, alias);
    const auto volume = open(builder.build());
    EXPECT_THAT(namesIn(*volume, 2), ElementsAre("alias", "first", "sub"));
    EXPECT_EQ(nodeAt(*volume, "first"), shared);
    EXPECT_EQ(nodeAt(*volume, "sub/second"), shared);
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "sub/second/inside")), "contents");
    EXPECT_EQ(volume->attributes(nodeAt(*volume, "alias")).kind, NodeKind::kFile);
}

TEST_F(Links, OfFoldersNeverPutAFolderInsideItself) {
    const std::uint32_t hidden = folderFolder();
    const std::uint32_t a = builder.folder(hidden, u"dir_1");
    const std::uint32_t b = builder.folder(hidden, u"dir_2");
    builder.folderLink(2, u"a", 1);
    builder.folderLink(a, u"b", 2);
    builder.folderLink(a, u"itself", 1);
    builder.folderLink(b, u"back to a", 1);
    builder.file(b, u"file");
    const auto volume = open(builder.build());
    const Tree tree = readTree(*volume);
    std::vector<std::string> paths;
    for (const auto& [path, item] : tree) {
        paths.push_back(path);
    }
    EXPECT_THAT(paths, ElementsAre("a", "a/b", "a/b/file"));
}

TEST_F(Links, ThatMultiplyPathsBeyondMeasureAreRefused) {
    const std::uint32_t hidden = folderFolder();
    for (std::uint32_t i = 0; i < 40; ++i) {
        const auto digits = std::to_string(i);
        const std::uint32_t level = builder.folder(hidden, u"dir_" + std::u16string(digits.begin(), digits.end()));
        builder.folderLink(level, u"left", i + 1);
        builder.folderLink(level, u"right", i + 1);
    }
    builder.folderLink(2, u"top", 0);
    const Bytes bytes = builder.build();
    EXPECT_EQ(errorOf([&] { open(bytes); }), ImageError::Kind::kDamaged);
}

TEST(HfsVolume, HidesOnlyJournalsThatAreSome) {
    HfsBuilder builder;
    HfsFileItem journal;
    journal.type = hfs::kJournalType;
    builder.file(2, u".journal_info_block", {}, journal);
    builder.file(2, u".journal", bytesOf("a user's own"));
    builder.file(builder.folder(2, u"sub"), u".journal_info_block", {}, journal);
    const auto volume = open(builder.build());
    EXPECT_THAT(namesIn(*volume, 2), ElementsAre(".journal", "sub"));
    EXPECT_THAT(namesIn(*volume, nodeAt(*volume, "sub")), ElementsAre(".journal_info_block"));
}

TEST(HfsVolume, IsFoundInsideAnHfsVolume) {
    HfsBuilder builder(HfsBuilder::Names::kHfsPlus, u"Inner");
    builder.file(2, u"file", bytesOf("contents"));
    const Bytes inner = builder.build();
    const auto volume = open(HfsBuilder::wrapped(inner));
    EXPECT_EQ(volume->name(), "Inner");
    EXPECT_EQ(readFile(*volume, nodeAt(*volume, "file")), "contents");
}

TEST(HfsVolume, RefusesWrappersThatHoldNothingOrLie) {
    HfsBuilder builder;
    const Bytes good = HfsBuilder::wrapped(builder.build());
    Bytes old = good;
    old[1024 + 0x7C] = old[1024 + 0x7D] = std::byte{0};
    EXPECT_EQ(errorOf([&] { open(old); }), ImageError::Kind::kUnsupported);
    Bytes outside = good;
    outside[1024 + 0x7E] = std::byte{0x7F};
    EXPECT_EQ(errorOf([&] { open(outside); }), ImageError::Kind::kDamaged);
    Bytes empty = good;
    empty[1024 + 0x80] = empty[1024 + 0x81] = std::byte{0};
    EXPECT_EQ(errorOf([&] { open(empty); }), ImageError::Kind::kDamaged);
}

} // namespace
} // namespace hdi::test
