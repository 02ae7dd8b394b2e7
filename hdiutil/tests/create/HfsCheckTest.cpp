#include "hdiutil/create/HfsVolumeWriter.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/create/HfsCheck.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

// Where the data of a record stands on the volume. The key's length, folder and name come before it.
std::size_t recordOf(const Bytes& volume, std::uint32_t folder, const std::string& name) {
    Bytes key(8 + 2 * name.size());
    storeBig<std::uint16_t>(key, 0, static_cast<std::uint16_t>(6 + 2 * name.size()));
    storeBig<std::uint32_t>(key, 2, folder);
    storeBig<std::uint16_t>(key, 6, static_cast<std::uint16_t>(name.size()));
    for (std::size_t i = 0; i < name.size(); ++i) {
        key[9 + 2 * i] = static_cast<std::byte>(name[i]);
    }
    const auto found = std::search(volume.begin() + 4096, volume.end(), key.begin(), key.end());
    EXPECT_NE(found, volume.end()) << name;
    return static_cast<std::size_t>(found - volume.begin()) + key.size();
}

std::size_t fileAt(const Bytes& volume, std::size_t fork) {
    return std::size_t{loadBig<std::uint32_t>(volume, 1024 + fork + 16)} * 4096;
}

std::size_t header(const Bytes&) {
    return 1024;
}
std::size_t extents(const Bytes& volume) {
    return fileAt(volume, 192);
}
std::size_t catalog(const Bytes& volume) {
    return fileAt(volume, 272);
}
std::size_t leaf(const Bytes& volume) {
    return catalog(volume) + 8192;
}
std::size_t folder(const Bytes& volume) {
    return recordOf(volume, 2, "folder");
}
std::size_t file(const Bytes& volume) {
    return recordOf(volume, 2, "file");
}
std::size_t thread(const Bytes& volume) {
    return recordOf(volume, 2, "");
}
std::size_t end(const Bytes& volume) {
    return volume.size() - 512;
}
std::size_t start(const Bytes&) {
    return 0;
}

struct Planted {
    const char* found; // what the check is to say
    std::size_t (*place)(const Bytes&);
    std::size_t offset;
    std::uint16_t value; // two bytes
};

// A volume as create writes it, but for the two bytes. The header's copy gets them, too.
std::vector<std::string> problemsWith(const Bytes& sound, const Planted& planted) {
    Bytes volume = sound;
    storeBig<std::uint16_t>(volume, planted.place(sound) + planted.offset, planted.value);
    std::copy_n(volume.begin() + 1024, 512, volume.end() - 1024);
    return checkHfsVolume(volume);
}

constexpr Planted kPlanted[] = {
    {"the boot blocks", start, 512, 1},
    {"the last sector", end, 2, 1},
    {"version", header, 2, 7},
    {"header: reserved attributes", header, 4, 1},
    {"header: reserved attributes", header, 6, 0x0140},
    {"header: reserved attributes", header, 6, 0x4100},
    {"header: inconsistent", header, 6, 0x0900},
    {"not unmounted in order", header, 6, 0},
    {"header: the journal's block", header, 14, 5},
    {"header: the backup's date", header, 26, 5},
    {"header: clump of resources", header, 58, 100},
    {"header: clump of data", header, 62, 100},
    {"header: the next allocation", header, 52, 1},
    {"header: MacRoman among the encodings", header, 78, 2},
    {"header: what the Finder is to start and open", header, 82, 2},
    {"header: what the Finder is to start and open", header, 98, 2},
    {"bitmap: clump size", header, 120, 0x0010},
    {"extents file: clump size", header, 200, 0x0010}, // 1 MiB in a volume that is smaller
    {"catalog file: clump size", header, 280, 0x0010},
    {"catalog: clump size of the tree and of its fork", header, 280, 0x0010},
    {"catalog file: an extent behind the last", header, 272 + 16 + 18, 1},
    {"attributes file", header, 360, 1},
    {"startup file", header, 510, 1},
    {"extents: the header node's links", extents, 2, 1},
    {"extents: reserved of the header node", extents, 12, 1},
    {"extents: longest key", extents, 34, 516},
    {"extents: reserved of the header", extents, 44, 1},
    {"extents: attributes", extents, 54, 6},
    {"extents: reserved at the header's end", extents, 118, 1},
    {"catalog: reserved of the header node", catalog, 12, 1},
    {"catalog: the header node's kind", catalog, 8, 0x0101},
    {"catalog: the header node's records", catalog, 10, 4},
    {"catalog: longest key", catalog, 34, 37},
    {"catalog: reserved of the header", catalog, 44, 1},
    {"catalog: the tree's type", catalog, 50, 0xFFCF},
    {"catalog: attributes", catalog, 54, 7}, // not closed in order
    {"catalog: reserved at the header's end", catalog, 56, 1},
    {"catalog: the user's record", catalog, 246, 1},
    {"catalog: the header's offsets", catalog, 8190, 16},
    {"catalog: reserved of a node", leaf, 12, 1},
    {"a folder: flags", folder, 2, 2}, // the thread flag
    {"a folder: flags", folder, 2, 0x20},
    {"a folder: flags", folder, 2, 1},
    {"a folder: flags of the administrator", folder, 40, 0x8000},
    {"a folder: flags of the owner", folder, 40, 0x0040},
    {"a folder: mode", folder, 42, 0100755},
    {"a folder: reserved of the Finder's", folder, 62, 1},
    {"a folder: reserved of the Finder's extended", folder, 70, 1},
    {"a folder: reserved of the Finder's extended", folder, 74, 1},
    {"a folder: text encoding", folder, 82, 1},
    {"a folder: reserved", folder, 86, 3},
    {"a file: the thread flag", file, 2, 0},
    {"a file: flags", file, 2, 0x12},
    {"a file: flags", file, 2, 0x8002},
    {"a file: reserved", file, 6, 1},
    {"a file: flags of the administrator", file, 40, 0x0800},
    {"a file: flags of the owner", file, 40, 0x0080},
    {"a file: mode", file, 42, 0040755},
    {"a file: special", file, 46, 2},
    {"a file: type of a link", file, 42, 0120755},
    {"a file: reserved of the Finder's", file, 62, 1},
    {"a file: reserved of the Finder's extended", file, 66, 1},
    {"a file: reserved of the Finder's extended", file, 74, 1},
    {"a file: text encoding", file, 82, 1},
    {"a file: reserved behind the encoding", file, 86, 1},
    {"a file's data: clump size", file, 98, 0x1000},
    {"a file's resources: clump size", file, 178, 0x1000},
    {"a file's data: an extent behind the last", file, 88 + 16 + 10, 1},
    {"a file's resources: an extent behind the last", file, 168 + 16 + 6 + 8, 1},
    {"a thread: reserved", thread, 2, 1},
};

class PlantedFaults : public testing::TestWithParam<HfsKind> {};

TEST_P(PlantedFaults, AreAllFound) {
    const TemporaryFolder source;
    fs::create_directories(source / "source/folder/inner");
    writeFile(source / "source/file", bytesOf("contents"));
    const Bytes sound = readAll(*createHfsPlus(source / "source", "Volume", GetParam()));
    ASSERT_THAT(checkHfsVolume(sound), testing::IsEmpty());
    for (const Planted& planted : kPlanted) {
        const bool isCount = planted.place == folder && planted.offset == 86;
        const std::string expected = isCount && GetParam() == HfsKind::kX ? "the folder count" : planted.found;
        EXPECT_THAT(problemsWith(sound, planted), testing::Contains(expected)) << planted.offset;
    }
}

INSTANTIATE_TEST_SUITE_P(Both, PlantedFaults, testing::Values(HfsKind::kPlus, HfsKind::kX));

} // namespace
} // namespace hdi::test
