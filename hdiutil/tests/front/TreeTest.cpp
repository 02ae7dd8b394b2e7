#include "hdiutil/create/ChunkEncoder.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/tests/front/FrontWorld.h"
#include "hdiutil/tests/image/TestImage.h"
#include "hdiutil/tests/volume/Packers.h"
#include "hdiutil/tests/volume/VolumeTree.h"
#include "hdiutil/tests/volume/XorrisoImages.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

// What is mounted equals, path by path, what another program reads in the same image: kinds, modes, sizes, contents and
// link targets.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;

class Mounted : public FrontWorld {
protected:
    // The tree of an image with one volume.
    Tree mountedTree(Way way, const std::string& path) const {
        const Outcome outcome = hdiutil(way, {"mount", path});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const std::size_t shown = outcome.out.find("/Volumes/");
        if (shown == std::string::npos) {
            ADD_FAILURE() << "nothing is mounted: " << outcome.out;
            return {};
        }
        return readFolder(base() + "/root" + outcome.out.substr(shown, outcome.out.find('\n', shown) - shown));
    }

    static Tree comparable(Way way, const Tree& tree) { return way == Way::kFuse ? tree : withoutLinkModes(tree); }
};

struct RealImage {
    const char* name;
    bool hasVolumeFolder; // in what 7-Zip extracts
    std::size_t entries;
};

void PrintTo(const RealImage& image, std::ostream* out) {
    *out << image.name;
}

const RealImage kRealImages[] = {
    {"apfs-gpt-adc-empty", false, 0},     {"apfs-gpt-lzfse-empty", false, 0},
    {"apfs-gpt-zlib-one-file", false, 1}, {"hfsplus-apm-bzip2-licence", true, 232},
    {"hfsplus-gpt-zlib-links", true, 6},  {"hfsplus-gpt-zlib-stub-app", true, 8},
};

std::string wordOf(std::string name, Way way) {
    std::replace(name.begin(), name.end(), '-', '_');
    return name + nameOf(way);
}

constexpr auto kNameOfInstance = [](const auto& instance) {
    return wordOf(std::get<1>(instance.param).name, std::get<0>(instance.param));
};

// The seventh one is encrypted, and refused.
class MountedRealImage : public Mounted, public testing::WithParamInterface<std::tuple<Way, RealImage>> {};
INSTANTIATE_TEST_SUITE_P(All, MountedRealImage,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted), testing::ValuesIn(kRealImages)),
                         kNameOfInstance);

TEST_P(MountedRealImage, ShowsTheTreeThat7ZipReads) {
    const auto& [way, real] = GetParam();
    const std::string path = copyOf(std::string(real.name) + ".dmg");
    const Tree expected = readWith7z(path, base() + "/7z", real.hasVolumeFolder);
    EXPECT_EQ(expected.size(), real.entries);
    EXPECT_EQ(comparable(way, mountedTree(way, path)), comparable(way, expected));
}

class MountedXorrisoImage : public Mounted, public testing::WithParamInterface<std::tuple<Way, const char*>> {
protected:
    std::string make() const {
        makeXorrisoSource(base() + "/source");
        fs::remove(base() + "/source/a:colon"); // 7-Zip shows the slash that stands for it as an underscore
        runXorriso(base(), std::get<1>(GetParam()));
        return base() + "/out.iso";
    }
};
INSTANTIATE_TEST_SUITE_P(All, MountedXorrisoImage,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted),
                                          testing::ValuesIn(kXorrisoCommands)));

TEST_P(MountedXorrisoImage, ShowsTheTreeThat7ZipReads) {
    const Way way = std::get<0>(GetParam());
    const std::string path = make();
    writeFile(base() + "/raw.hfs", hfsPart(path)); // of the whole, 7-Zip shows the other file system
    const Tree expected = readWith7z(base() + "/raw.hfs", base() + "/7z");
    EXPECT_EQ(expected.size(), 311U);
    EXPECT_EQ(comparable(way, mountedTree(way, path)), comparable(way, expected));
}

TEST_P(MountedXorrisoImage, RunsItsPrograms) {
    mountedTree(std::get<0>(GetParam()), make());
    EXPECT_EQ(runProgram({volumes() + "/Volume/App.app/Contents/MacOS/run"}).out, "hello\n");
}

// Chunks and tables that no writer of ours makes.
struct Container {
    const char* name;
    std::vector<RunType> types; // in turn
    std::size_t tables;         // of equal size, wherever the partitions begin and end
};

void PrintTo(const Container& container, std::ostream* out) {
    *out << container.name;
}

const Container kContainers[] = {
    {"Adc", {RunType::kAdc}, 1},
    {"AdcInSevenTables", {RunType::kAdc}, 7},
    {"EveryKindOfChunkInFiveTables",
     {RunType::kRaw, RunType::kZlib, RunType::kAdc, RunType::kBzip2, RunType::kLzma, RunType::kLzfse},
     5},
};

EncodedChunk encoded(RunType type, const Bytes& raw) {
    switch (type) {
    case RunType::kAdc:
        return {type, packAdc(raw)};
    case RunType::kZlib:
        return encodeChunk(RunType::kZlib, raw);
    case RunType::kBzip2:
        return encodeChunk(RunType::kBzip2, raw);
    case RunType::kLzma:
        return encodeChunk(RunType::kLzma, raw);
    case RunType::kLzfse:
        return encodeChunk(RunType::kLzfse, raw);
    default:
        return {RunType::kRaw, raw};
    }
}

UdifChecksum checksumOf(const Bytes& bytes) {
    return {UdifChecksum::kCrc32, 32, crc32(bytes)};
}

// The disk in chunks of at most 64 KiB, with all the checksums that macOS's own images carry.
Bytes contain(const Bytes& disk, const Container& container) {
    constexpr std::size_t kSector = 512;
    constexpr std::size_t kChunk = 128 * kSector;
    TestImage image;
    image.sectorCount = disk.size() / kSector;
    std::size_t chunks = 0;
    for (std::size_t table = 0, begin = 0; table < container.tables; ++table) {
        const std::size_t end = image.sectorCount * (table + 1) / container.tables * kSector;
        image.addTable(begin / kSector, (end - begin) / kSector);
        image.tables.back().checksum = checksumOf(
            Bytes(disk.begin() + static_cast<std::ptrdiff_t>(begin), disk.begin() + static_cast<std::ptrdiff_t>(end)));
        for (; begin < end; begin += std::min(kChunk, end - begin)) {
            const std::size_t length = std::min(kChunk, end - begin);
            const auto first = disk.begin() + static_cast<std::ptrdiff_t>(begin);
            const EncodedChunk chunk = encoded(container.types[chunks++ % container.types.size()],
                                               Bytes(first, first + static_cast<std::ptrdiff_t>(length)));
            image.addRun(chunk.type, begin / kSector, length / kSector, chunk.stored);
        }
    }
    Bytes sums(4 * image.tables.size());
    for (std::size_t i = 0; i < image.tables.size(); ++i) {
        storeBig(std::span(sums), 4 * i, image.tables[i].checksum.value);
    }
    UdifTrailer trailer = image.trailer();
    trailer.dataChecksum = checksumOf(image.data);
    trailer.masterChecksum = checksumOf(sums);
    return image.bytes(trailer);
}

class MountedContainer : public Mounted, public testing::WithParamInterface<std::tuple<Way, Container>> {
protected:
    // A disk with a partition map, as it is without any container.
    Bytes makeDisk() const {
        makeXorrisoSource(base() + "/source");
        const Outcome made = hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "Volume", "-format",
                                      "UDRO", base() + "/plain.dmg"});
        EXPECT_EQ(made.status, 0) << made.err;
        return readAll(*DiskImage::open(base() + "/plain.dmg")->disk());
    }
};
INSTANTIATE_TEST_SUITE_P(All, MountedContainer,
                         testing::Combine(testing::Values(Way::kFuse, Way::kExtracted), testing::ValuesIn(kContainers)),
                         kNameOfInstance);

TEST_P(MountedContainer, ShowsTheTreeOfItsSource) {
    const auto& [way, container] = GetParam();
    const Bytes disk = makeDisk();
    const std::string path = base() + "/image.dmg";
    writeFile(path, contain(disk, container));
    // 7-Zip takes each table for a file of its own; together they are the disk.
    EXPECT_TRUE(bytesOf(run(SEVEN_ZIP " x -so -tdmg " + path)) == disk);
    EXPECT_EQ(hdiutil({"verify", path}).status, 0);
    EXPECT_EQ(comparable(way, mountedTree(way, path)), comparable(way, readFolder(base() + "/source")));
}

} // namespace
} // namespace hdi::test
