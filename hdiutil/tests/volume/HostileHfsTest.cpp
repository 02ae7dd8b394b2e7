#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/volume/HfsBuilder.h"
#include "hdiutil/tests/volume/Packers.h"
#include "hdiutil/tests/volume/Walk.h"
#include "hdiutil/volume/HfsVolume.h"

#include <gtest/gtest.h>

namespace hdi::test {
namespace {

std::optional<ImageError::Kind> openError(const Bytes& bytes) {
    return errorOf([&] { HfsVolume::open(inMemory(bytes)); });
}

constexpr auto kDamaged = ImageError::Kind::kDamaged;

// A little of everything, so that damage anywhere meets some code.
Bytes someVolume() {
    HfsBuilder builder;
    builder.fragment(2);
    const std::uint32_t folder = builder.folder(2, u"folder");
    builder.file(folder, u"file", prose(10'000, 1));
    builder.symlink(2, u"link", "folder/file");
    const std::uint32_t links = builder.folder(2, std::u16string(hfs::kFileLinkFolder, hfs::kFileLinkFolderUnits));
    builder.file(links, u"iNode5", bytesOf("shared"));
    builder.fileLink(2, u"one", 5);
    builder.fileLink(folder, u"two", 5);
    const std::uint32_t folderLinks = builder.folder(2, hfs::kFolderLinkFolder);
    builder.file(builder.folder(folderLinks, u"dir_6"), u"inside");
    builder.folderLink(2, u"folder link", 6);
    const Bytes contents = prose(70'000, 2);
    builder.compressed(2, u"packed", 3, 500, packZlib(prose(500, 3)));
    builder.compressed(2, u"packed fork", 8, contents.size(), {}, offsetFork(contents, std::byte{6}, packLzvn));
    return builder.build();
}

// Where the bytes of the volume header's fork at `at` begin.
std::size_t forkOffset(const Bytes& volume, std::size_t at) {
    return std::size_t{loadBig<std::uint32_t>(volume, 1024 + at + 16)} * HfsBuilder::kBlock;
}

constexpr std::size_t kExtents = 192;
constexpr std::size_t kCatalog = 272;
constexpr std::size_t kAttributes = 352;

template <typename T>
Bytes changed(Bytes volume, std::size_t at, T value) {
    storeBig<T>(volume, at, value);
    return volume;
}

TEST(HostileHfs, HeadersThatCannotBeAreDamage) {
    const Bytes good = someVolume();
    const std::size_t catalog = forkOffset(good, kCatalog);
    const std::size_t leaf = catalog + 4096;
    ASSERT_EQ(openError(good), std::nullopt);
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + 40, 0)), kDamaged); // block size
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + 40, 256)), kDamaged);
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + 40, 513)), kDamaged);
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + 44, 0)), kDamaged);              // no blocks at all
    EXPECT_EQ(openError(changed<std::uint64_t>(good, 1024 + kCatalog, 0)), kDamaged);        // no catalog
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + kCatalog, 1U << 30)), kDamaged); // larger than the volume
    EXPECT_EQ(openError(changed<std::uint32_t>(good, 1024 + kCatalog + 16, 1U << 30)), kDamaged); // outside
    EXPECT_EQ(openError(changed<std::uint8_t>(good, catalog + 8, 0)), kDamaged);                  // no header node
    for (const unsigned size : {0U, 1U, 256U, 4097U, 65535U}) {
        EXPECT_EQ(openError(changed<std::uint16_t>(good, catalog + 32, static_cast<std::uint16_t>(size))), kDamaged);
    }
    EXPECT_EQ(openError(changed<std::uint32_t>(good, catalog + 24, 0)), kDamaged);       // no leaf, so no root folder
    EXPECT_EQ(openError(changed<std::uint32_t>(good, catalog + 24, 99)), kDamaged);      // a leaf outside the file
    EXPECT_EQ(openError(changed<std::uint8_t>(good, leaf + 8, 0)), kDamaged);            // a leaf that is none
    EXPECT_EQ(openError(changed<std::uint32_t>(good, leaf, 1)), kDamaged);               // a leaf after itself
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 10, 0xFFFF)), kDamaged);     // too many records
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 4096 - 2, 13)), kDamaged);   // inside the descriptor
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 4096 - 4, 4095)), kDamaged); // inside the offsets
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 4096 - 4, 14)), kDamaged);   // an empty record
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 14, 0xFFFF)), kDamaged);     // a key beyond its record
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 14, 4)), kDamaged);          // too short a key
    EXPECT_EQ(openError(changed<std::uint16_t>(good, leaf + 20, 256)), kDamaged);        // too long a name
    EXPECT_EQ(openError(changed<std::uint8_t>(good, forkOffset(good, kExtents) + 8, 7)), kDamaged);
    EXPECT_EQ(openError(changed<std::uint8_t>(good, forkOffset(good, kAttributes) + 8, 7)), kDamaged);
}

TEST(HostileHfs, RecordsThatContradictEachOtherAreDamage) {
    const auto damagedBy = [](auto&& change) {
        HfsBuilder builder;
        builder.file(2, u"file");
        change(builder);
        return openError(builder.build());
    };
    EXPECT_EQ(damagedBy([](HfsBuilder&) {}), std::nullopt);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) {
                  HfsFileItem twice;
                  twice.id = 16;
                  builder.record(2, u"again", fileRecord(twice));
              }),
              kDamaged);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) {
                  HfsFileItem root;
                  root.id = 2;
                  builder.record(2, u"the root", fileRecord(root));
              }),
              kDamaged);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) { builder.record(2, u"no number", fileRecord({})); }), kDamaged);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) { builder.record(2, u"short", Bytes(40, std::byte{2})); }), kDamaged);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) {
                  Bytes record = fileRecord({});
                  record.resize(200);
                  storeBig<std::uint32_t>(record, 8, 99);
                  builder.record(2, u"short", record);
              }),
              kDamaged);
    EXPECT_EQ(damagedBy([](HfsBuilder& builder) { builder.record(2, u"unknown", Bytes(300, std::byte{9})); }),
              kDamaged);
}

TEST(HostileHfs, FoldersAboveThemselvesOrNowhereDoNotShow) {
    HfsBuilder builder;
    HfsFolderItem folder;
    for (const auto& [parent, id] :
         {std::pair{100U, 101U}, std::pair{101U, 100U}, std::pair{102U, 102U}, std::pair{77U, 103U}}) {
        folder.id = id;
        builder.record(parent, u"folder", folderRecord(folder));
    }
    const std::uint32_t file = builder.file(2, u"file");
    HfsFileItem below;
    below.id = 104;
    builder.record(file, u"below a file", fileRecord(below));
    const auto volume = HfsVolume::open(inMemory(builder.build()));
    EXPECT_EQ(volume->list(2).size(), 1U);
    EXPECT_EQ(errorOf([&] { volume->list(file); }), kDamaged);
    EXPECT_EQ(volume->lookUp(file, "below a file"), std::nullopt);
    EXPECT_EQ(errorOf([&] { volume->attributes(9999); }), kDamaged);
    EXPECT_EQ(errorOf([&] { volume->attributes((1ULL << 32) + 2); }), kDamaged);
}

TEST(HostileHfs, OneFileOutsideTheVolumeDoesNotSpoilTheOthers) {
    const auto withFork = [](std::uint64_t size, hfs::Extent extent) {
        HfsFileItem item;
        item.data.logicalSize = size;
        item.data.extents[0] = extent;
        return item;
    };
    HfsBuilder builder;
    builder.file(2, u"good", bytesOf("good"));
    builder.file(2, u"outside", {}, withFork(100, {1U << 31, 1}));
    builder.file(2, u"half outside", {}, withFork(1 << 20, {5, 1U << 31}));
    builder.file(2, u"the largest", {}, withFork(UINT64_MAX, {0, UINT32_MAX}));
    builder.file(2, u"without blocks", {}, withFork(1ULL << 62, {0, 0}));
    builder.file(2, u"overlapping", {}, withFork(512, {4, 1}));
    const auto volume = HfsVolume::open(inMemory(builder.build()));
    Bytes part(4);
    const auto readAt = [&](const char* name, std::uint64_t offset) {
        return errorOf([&] { volume->read(*volume->lookUp(2, name), offset, part); });
    };
    EXPECT_EQ(readAt("good", 0), std::nullopt);
    EXPECT_EQ(part, bytesOf("good"));
    EXPECT_EQ(readAt("outside", 0), kDamaged);
    EXPECT_EQ(readAt("half outside", 1'000'000), kDamaged);
    EXPECT_EQ(readAt("the largest", UINT64_MAX - 10), kDamaged);
    EXPECT_EQ(readAt("without blocks", 0), kDamaged);
    EXPECT_EQ(readAt("overlapping", 0), std::nullopt);
    EXPECT_EQ(part, bytesOf("good"));
}

TEST(HostileHfs, ManyEqualNamesAreToldApart) {
    HfsBuilder builder;
    HfsFileItem item;
    for (item.id = 100; item.id < 600; ++item.id) {
        builder.record(2, u"same", fileRecord(item));
    }
    const auto volume = HfsVolume::open(inMemory(builder.build()));
    EXPECT_EQ(volume->list(2).size(), 500U);
    EXPECT_EQ(walk(*volume).entries, 500U);
    EXPECT_EQ(volume->lookUp(2, "same#65"), 0x65U);
}

TEST(HostileHfs, DeepFoldersNeedNoStack) {
    HfsBuilder builder;
    std::uint32_t parent = 2;
    for (int depth = 0; depth < 20'000; ++depth) {
        parent = builder.folder(parent, u"d");
    }
    builder.folderLink(parent, u"x", 1); // has the folders' graph looked at
    EXPECT_EQ(walk(*HfsVolume::open(inMemory(builder.build()))).entries, 20'001U);
}

TEST(HostileHfs, EveryTruncationIsAnErrorOrHarmless) {
    const Bytes good = someVolume();
    for (std::size_t length = 0; length < good.size(); length += 128) {
        errorOf([&] {
            if (const auto volume = HfsVolume::open(
                    inMemory(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length))))) {
                walk(*volume);
            }
        });
    }
}

TEST(HostileHfs, EveryByteOfItsStructuresMayBeWrong) {
    const Bytes good = someVolume();
    Bytes broken = good;
    const auto tryAll = [&](std::size_t begin, std::size_t end) {
        for (std::size_t at = begin; at < end; ++at) {
            if (good[at] == std::byte{0} && at % 4 != 3) { // mostly padding: one of four is enough
                continue;
            }
            for (const unsigned flip : {0x01U, 0xFFU}) {
                broken[at] = good[at] ^ static_cast<std::byte>(flip);
                errorOf([&] {
                    if (const auto volume = HfsVolume::open(inMemory(broken))) {
                        walk(*volume);
                    }
                });
            }
            broken[at] = good[at];
        }
    };
    tryAll(1024, 1536);
    for (const std::size_t fork : {kExtents, kCatalog, kAttributes}) {
        for (const std::size_t node : {0U, 1U}) {
            const std::size_t nodeSize = loadBig<std::uint16_t>(good, forkOffset(good, fork) + 32);
            tryAll(forkOffset(good, fork) + node * nodeSize, forkOffset(good, fork) + (node + 1) * nodeSize);
        }
    }
}

TEST(HostileHfs, GarbageIsNoVolumeOrDamage) {
    for (std::uint64_t seed = 0; seed < 2000; ++seed) {
        Bytes bytes = noise(4096, seed);
        bytes[1024] = std::byte{'H'};
        bytes[1025] = seed % 2 == 0 ? std::byte{'+'} : std::byte{'X'};
        const auto kind = openError(bytes);
        ASSERT_TRUE(kind == kDamaged) << seed;
    }
}

} // namespace
} // namespace hdi::test
