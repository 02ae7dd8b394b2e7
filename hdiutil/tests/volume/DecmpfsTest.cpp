#include "hdiutil/image/LzfseEncoder.h"
#include "hdiutil/tests/volume/HfsBuilder.h"
#include "hdiutil/tests/volume/Packers.h"
#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/volume/Decmpfs.h"

#include <gtest/gtest.h>

namespace hdi::test {
namespace {

struct PackedFile {
    std::u16string name;
    std::uint32_t type;
    Bytes contents;
    Bytes inAttribute;
    Bytes resourceFork;
};

std::vector<PackedFile> everyType() {
    const Bytes small = prose(3000, 1);
    const Bytes raw = noise(500, 2); // does not shrink: stored behind a marker
    const Bytes large = prose(3 * 65536 + 1234, 3) + noise(65536, 4);
    const auto marked = [](unsigned marker) {
        return [marker](const Bytes& block) { return Bytes{static_cast<std::byte>(marker)} + block; };
    };
    return {
        {u"type 1", 1, small, small, {}},
        {u"type 3", 3, small, packZlib(small), {}},
        {u"type 3 stored", 3, raw, marked(0xFF)(raw), {}},
        {u"type 4", 4, large, {}, zlibFork(large)},
        {u"type 4 of one block", 4, small, {}, zlibFork(small)},
        {u"type 7", 7, small, packLzvn(small), {}},
        {u"type 7 stored", 7, raw, marked(0x06)(raw), {}},
        {u"type 8", 8, large, {}, offsetFork(large, std::byte{0x06}, packLzvn)},
        {u"type 8 stored", 8, large, {}, offsetFork(large, {}, marked(0x06))},
        {u"type 9", 9, raw, marked(0xCC)(raw), {}},
        {u"type 10", 10, large, {}, offsetFork(large, {}, marked(0xCC))},
        {u"type 11", 11, small, encodeLzfse(small), {}},
        {u"type 12",
         12,
         large,
         {},
         offsetFork(large, std::byte{0xFF}, [](const Bytes& block) { return encodeLzfse(block); })},
        {u"type 12 stored", 12, large, {}, offsetFork(large, {}, marked(0xFF))},
    };
}

Bytes volumeWith(const std::vector<PackedFile>& files) {
    HfsBuilder builder;
    builder.fragment(7);
    for (const PackedFile& file : files) {
        builder.compressed(2, file.name, file.type, file.contents.size(), file.inAttribute, file.resourceFork);
    }
    return builder.build();
}

std::string utf8(const std::u16string& ascii) {
    return {ascii.begin(), ascii.end()};
}

TEST(Decmpfs, UnpacksEveryType) {
    const auto volumes = openVolumes(inMemory(volumeWith(everyType())));
    for (const PackedFile& file : everyType()) {
        const NodeId node = nodeAt(*volumes[0], utf8(file.name));
        ASSERT_EQ(volumes[0]->attributes(node).size, file.contents.size()) << utf8(file.name);
        EXPECT_EQ(bytesOf(readFile(*volumes[0], node)), file.contents) << utf8(file.name);
    }
}

// 7-Zip knows neither the stored types (1, 9, 10) nor LZFSE: those are left to the test above.
TEST(Decmpfs, UnpacksWhat7ZipDoesToTheSameBytes) {
    std::vector<PackedFile> files = everyType();
    std::erase_if(files, [](const PackedFile& file) {
        return file.type == 1 || file.type == 9 || file.type == 10 || file.type == 11 || file.type == 12;
    });
    const TemporaryFolder folder;
    const Bytes bytes = volumeWith(files);
    writeFile(folder / "raw.hfs", bytes);
    const Tree expected = readWith7z(folder / "raw.hfs", folder / "x");
    EXPECT_EQ(expected.size(), files.size());
    EXPECT_EQ(readTree(*openVolumes(inMemory(bytes))[0]), expected);
}

TEST(Decmpfs, ReadsAnyPartOfAFile) {
    const PackedFile file = everyType()[7];
    const auto volumes = openVolumes(inMemory(volumeWith({file})));
    const NodeId node = nodeAt(*volumes[0], utf8(file.name));
    std::mt19937_64 random(5);
    for (int i = 0; i < 300; ++i) {
        const std::size_t offset = random() % file.contents.size();
        Bytes part(random() % 150'000);
        const std::size_t length = volumes[0]->read(node, offset, part);
        ASSERT_EQ(length, std::min(part.size(), file.contents.size() - offset));
        ASSERT_TRUE(std::equal(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(length),
                               file.contents.begin() + static_cast<std::ptrdiff_t>(offset)));
    }
}

TEST(Decmpfs, NeedsTheFlagAndTheAttribute) {
    HfsBuilder builder;
    const std::uint32_t plain = builder.file(2, u"no flag", bytesOf("data fork"));
    builder.attribute(plain, u"com.apple.decmpfs", Bytes(16) + bytesOf("x"));
    HfsFileItem flagged;
    flagged.ownerFlags = hfs::kCompressedOwnerFlag;
    builder.file(2, u"no attribute", bytesOf("data fork"), flagged);
    const std::uint32_t broken = builder.file(2, u"no header", bytesOf("data fork"), flagged);
    builder.attribute(broken, u"com.apple.decmpfs", bytesOf("not that at all......"));
    const std::uint32_t other = builder.file(2, u"other attribute", bytesOf("data fork"), flagged);
    builder.attribute(other, u"com.apple.quarantine", bytesOf("0081"));
    const auto volumes = openVolumes(inMemory(builder.build()));
    for (const char* name : {"no flag", "no attribute", "no header", "other attribute"}) {
        EXPECT_EQ(readFile(*volumes[0], nodeAt(*volumes[0], name)), "data fork") << name;
    }
}

// Each is an error when it is read, whatever it claims, and takes no more memory than a block.
TEST(Decmpfs, RefusesWhatCannotBe) {
    const Bytes small = prose(3000, 1);
    const Bytes contents = prose(70'000, 1);
    const Bytes fork = zlibFork(contents);
    const Bytes plainFork = offsetFork(contents, std::byte{0x06}, packLzvn);
    const auto with = [](Bytes bytes, std::size_t at, unsigned value) {
        bytes.at(at) = static_cast<std::byte>(value);
        return bytes;
    };
    const struct {
        const char* what;
        std::uint32_t type;
        std::uint64_t size;
        Bytes inAttribute, resourceFork;
        ImageError::Kind kind = ImageError::Kind::kDamaged;
    } cases[] = {
        {"an exabyte in an attribute", 3, 1ULL << 60, packZlib(small), {}},
        {"five megabytes in an attribute", 3, 5U << 20, packZlib(small), {}},
        {"an exabyte in a fork", 4, 1ULL << 60, {}, Bytes(300)},
        {"the largest size", 8, UINT64_MAX, {}, Bytes(300)},
        {"one byte too many", 3, small.size() + 1, packZlib(small), {}},
        {"one byte too few", 3, small.size() - 1, packZlib(small), {}},
        {"stored, but too short", 1, 10, bytesOf("short"), {}},
        {"no packed bytes", 7, 10, {}, {}},
        {"no fork", 4, contents.size(), {}, {}},
        {"a short fork", 8, contents.size(), {}, Bytes(3)},
        {"a resource elsewhere", 4, contents.size(), {}, with(fork, 0, 0x7F)},
        {"no blocks", 4, contents.size(), {}, with(with(fork, 0x104, 0), 0x105, 0)},
        {"a block elsewhere", 4, contents.size(), {}, with(fork, 0x10B, 0x7F)},
        {"a block too long", 4, contents.size(), {}, with(fork, 0x10F, 0x7F)},
        {"garbage in a block", 4, contents.size(), {}, with(fork, 0x108 + 17, 0x77)},
        {"a table of no blocks", 8, contents.size(), {}, with(plainFork, 0, 4)},
        {"blocks out of order", 8, contents.size(), {}, with(plainFork, 4, 0)},
        {"an unknown type", 5, 10, bytesOf("0123456789"), {}, ImageError::Kind::kUnsupported},
        {"another one", 0x80000001, 10, bytesOf("0123456789"), {}, ImageError::Kind::kUnsupported},
    };
    for (const auto& each : cases) {
        HfsBuilder builder;
        builder.compressed(2, u"file", each.type, each.size, each.inAttribute, each.resourceFork);
        const auto volumes = openVolumes(inMemory(builder.build()));
        const NodeId node = nodeAt(*volumes[0], "file");
        EXPECT_EQ(volumes[0]->attributes(node).size, each.size) << each.what;
        Bytes part(100);
        EXPECT_EQ(errorOf([&] { volumes[0]->read(node, 0, part); }), each.kind) << each.what;
    }
}

TEST(Decmpfs, SurvivesEveryTruncationAndEveryByte) {
    const Bytes contents = prose(2000, 1);
    const std::pair<std::uint32_t, Bytes> cases[] = {
        {3, packZlib(contents)}, {7, packLzvn(contents)}, {11, encodeLzfse(contents)}, {1, contents}};
    for (const auto& [type, packed] : cases) {
        const DecmpfsHeader header{type, contents.size()};
        for (std::size_t length = 0; length < packed.size(); ++length) {
            errorOf([&] { unpackInline(header, std::span(packed).first(length)); });
        }
        for (std::size_t at = 0; at < packed.size(); ++at) {
            for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
                Bytes broken = packed;
                broken[at] ^= static_cast<std::byte>(flip);
                errorOf([&] { EXPECT_EQ(unpackInline(header, broken).size(), contents.size()); });
            }
        }
    }
}

} // namespace
} // namespace hdi::test
