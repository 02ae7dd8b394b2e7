#include "hdiutil/create/HfsVolumeWriter.h"
#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/LzfseEncoder.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/volume/HfsBuilder.h"
#include "hdiutil/tests/volume/Packers.h"

#include <filesystem>
#include <iostream>
#include <string>

// hdiutil_volume_seeds FOLDER IMAGE…: writes FOLDER/hfs and FOLDER/decmpfs, the inputs that the fuzzers of volumes
// start from: what our own writer makes, small volumes with everything the format can hold, and the beginnings of the
// HFS+ partitions of the given images.
namespace {

using namespace hdi;
using namespace hdi::test;

class SeedFolder {
public:
    explicit SeedFolder(const std::filesystem::path& path) : path_(path) { std::filesystem::create_directories(path); }

    void add(const Bytes& seed) { writeFile((path_ / ("seed-" + std::to_string(count_++))).string(), seed); }

private:
    std::filesystem::path path_;
    int count_ = 0;
};

Bytes attribute(std::uint32_t type, std::uint64_t size, const Bytes& rest) {
    Bytes header(16);
    storeLittle<std::uint32_t>(header, 0, 0x636D7066);
    storeLittle<std::uint32_t>(header, 4, type);
    storeLittle<std::uint64_t>(header, 8, size);
    return header + rest;
}

void addDecmpfsSeeds(SeedFolder& seeds) {
    const Bytes small = prose(300, 1);
    const Bytes large = prose(65536 + 300, 2);
    const auto lzfse = [](const Bytes& block) { return encodeLzfse(block); };
    for (const std::uint32_t type : {1U, 9U}) {
        seeds.add(attribute(type, small.size(), small));
    }
    for (const unsigned marker : {0xFFU, 0x06U, 0xCCU}) {
        for (const std::uint32_t type : {3U, 7U, 9U, 11U}) {
            seeds.add(attribute(type, small.size(), Bytes{static_cast<std::byte>(marker)} + small));
        }
    }
    seeds.add(attribute(3, small.size(), packZlib(small)));
    seeds.add(attribute(7, small.size(), packLzvn(small)));
    seeds.add(attribute(11, small.size(), encodeLzfse(small)));
    for (const Bytes& contents : {small, large}) {
        seeds.add(attribute(4, contents.size(), zlibFork(contents)));
        seeds.add(attribute(8, contents.size(), offsetFork(contents, std::byte{0x06}, packLzvn)));
        seeds.add(attribute(12, contents.size(), offsetFork(contents, std::byte{0xFF}, lzfse)));
    }
    seeds.add(attribute(10, small.size(),
                        offsetFork(small, {}, [](const Bytes& block) { return Bytes{std::byte{0xCC}} + block; })));
    seeds.add(attribute(5, 10, small));
    seeds.add(attribute(4, 1ULL << 50, zlibFork(small)));
}

Bytes packedVolume() {
    HfsBuilder builder;
    builder.useSmallNodes();
    const Bytes small = prose(300, 3);
    builder.compressed(2, u"three", 3, small.size(), packZlib(small));
    builder.compressed(2, u"four", 4, small.size(), {}, zlibFork(small));
    builder.compressed(2, u"eight", 8, small.size(), {}, offsetFork(small, std::byte{6}, packLzvn));
    return builder.build();
}

Bytes linkedVolume() {
    HfsBuilder builder;
    builder.useSmallNodes();
    const std::uint32_t files = builder.folder(2, std::u16string(hfs::kFileLinkFolder, hfs::kFileLinkFolderUnits));
    builder.file(files, u"iNode5", bytesOf("shared"));
    builder.fileLink(2, u"one", 5);
    const std::uint32_t folders = builder.folder(2, hfs::kFolderLinkFolder);
    const std::uint32_t inside = builder.folder(folders, u"dir_6");
    builder.folderLink(2, u"six", 6);
    builder.folderLink(inside, u"circle", 6);
    builder.symlink(2, u"link", "one");
    return builder.build();
}

Bytes namedVolume(HfsBuilder::Names names) {
    HfsBuilder builder(names);
    builder.useSmallNodes();
    builder.fragment(1);
    builder.file(2, u"E\u0301t\u00e9 \uac01 \xd83d\xde00 \xd800", noise(5000, 4)); // more than eight extents
    builder.file(2, u"a/b", bytesOf("x"));
    builder.file(2, u"a:b", bytesOf("y"));
    builder.file(2, u"..");
    builder.folder(2, std::u16string(255, u'\u4e2d'));
    builder.fragmentCatalog();
    return builder.build();
}

void addHfsSeeds(SeedFolder& seeds) {
    seeds.add(packedVolume());
    seeds.add(linkedVolume());
    seeds.add(HfsBuilder::wrapped(linkedVolume()));
    for (const auto names :
         {HfsBuilder::Names::kHfsPlus, HfsBuilder::Names::kHfsxFolding, HfsBuilder::Names::kHfsxBinary}) {
        seeds.add(namedVolume(names));
    }
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "source/sub");
    writeFile(folder / "source/sub/file", bytesOf("contents"));
    std::filesystem::create_symlink("sub/file", folder / "source/link");
    seeds.add(readAll(*createHfsPlus(folder / "source", "Volume", HfsKind::kPlus)));
}

void addImage(const std::string& path, SeedFolder& seeds) {
    const auto image = DiskImage::open(path);
    for (const Partition& partition : readPartitionMap(*image->disk()).partitions) {
        if (partition.content != "Apple_HFS") {
            continue;
        }
        Bytes beginning(static_cast<std::size_t>(std::min<std::uint64_t>(partition.length, 16384)));
        image->disk()->read(partition.offset, beginning);
        seeds.add(beginning);
    }
}

// The blocks of an APFS container that hold anything, each behind its place.
void addContainer(const std::string& path, SeedFolder& seeds) {
    constexpr std::size_t kBlock = 4096;
    constexpr std::size_t kBlocks = 4096;
    const auto image = DiskImage::open(path);
    for (const Partition& partition : readPartitionMap(*image->disk()).partitions) {
        if (partition.content != "Apple_APFS") {
            continue;
        }
        Bytes seed;
        for (std::size_t place = 0; place < std::min<std::uint64_t>(kBlocks, partition.length / kBlock); ++place) {
            Bytes block(kBlock);
            image->disk()->read(partition.offset + place * kBlock, block);
            if (block != Bytes(kBlock)) {
                seed.push_back(static_cast<std::byte>(place >> 8U));
                seed.push_back(static_cast<std::byte>(place));
                seed.insert(seed.end(), block.begin(), block.end());
            }
        }
        seeds.add(seed);
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::cerr << "usage: hdiutil_volume_seeds FOLDER IMAGE...\n";
        return 1;
    }
    const std::filesystem::path folder = arguments[1];
    SeedFolder hfs(folder / "hfs");
    SeedFolder apfs(folder / "apfs");
    SeedFolder decmpfs(folder / "decmpfs");
    addHfsSeeds(hfs);
    addDecmpfsSeeds(decmpfs);
    for (int i = 2; i < count; ++i) {
        fuzz::allowRefusal([&] { addImage(arguments[i], hfs); });
        fuzz::allowRefusal([&] { addContainer(arguments[i], apfs); });
    }
    return 0;
}
