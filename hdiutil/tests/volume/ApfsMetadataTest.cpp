#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/tests/image/TestBytes.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

// What the library would take on trust: checksums of objects, and volumes that it has no key for.
namespace hdi::test {
namespace {

constexpr std::size_t kBlock = 4096;

Bytes container() {
    return bytesOf(run(SEVEN_ZIP " e -so -tdmg " TEST_IMAGES "/apfs-gpt-zlib-one-file.dmg '*.apfs'"));
}

std::uint64_t le64(const Bytes& bytes, std::size_t at) {
    return loadLittle<std::uint64_t>(bytes, at);
}

// Apple's reference, "Object Checksum": Fletcher's sums of the 32-bit words behind the checksum.
void seal(Bytes& bytes, std::size_t block) {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    for (std::size_t at = 8; at < kBlock; at += 4) {
        first = (first + loadLittle<std::uint32_t>(bytes, block * kBlock + at)) % 0xFFFFFFFF;
        second = (second + first) % 0xFFFFFFFF;
    }
    const std::uint64_t low = 0xFFFFFFFF - (first + second) % 0xFFFFFFFF;
    const std::uint64_t high = 0xFFFFFFFF - (first + low) % 0xFFFFFFFF;
    storeLittle<std::uint64_t>(bytes, block * kBlock, high << 32U | low);
}

bool isAt(const Bytes& bytes, std::size_t block, const char* magic) {
    return std::memcmp(bytes.data() + block * kBlock + 32, magic, 4) == 0;
}

// Every superblock of the container, in the first block and in the ring behind it.
std::vector<std::size_t> superblocks(const Bytes& bytes) {
    std::vector<std::size_t> blocks;
    const std::uint64_t end = le64(bytes, 112) + loadLittle<std::uint32_t>(bytes, 104);
    for (std::size_t block = 0; block < end; ++block) {
        if (isAt(bytes, block, "NXSB")) {
            blocks.push_back(block);
        }
    }
    return blocks;
}

std::size_t newestSuperblock(const Bytes& bytes) {
    const auto all = superblocks(bytes);
    return *std::ranges::max_element(all, {}, [&](std::size_t block) { return le64(bytes, block * kBlock + 16); });
}

// Enters `id` into the one node of the container's object map.
void mapObject(Bytes& bytes, std::uint64_t id, std::uint64_t block) {
    const std::size_t map = le64(bytes, newestSuperblock(bytes) * kBlock + 160);
    const std::size_t node = le64(bytes, map * kBlock + 48);
    const std::span<std::byte> at = std::span(bytes).subspan(node * kBlock, kBlock);
    const auto count = loadLittle<std::uint32_t>(at, 36);
    const std::size_t table = 56U + loadLittle<std::uint16_t>(at, 40);
    const std::size_t keys = table + loadLittle<std::uint16_t>(at, 42);
    const std::size_t key = loadLittle<std::uint16_t>(at, 44); // the free room's beginning
    const std::size_t value = std::size_t{16} * (count + 1);   // from the end
    storeLittle<std::uint16_t>(at, table + std::size_t{4} * count, static_cast<std::uint16_t>(key));
    storeLittle<std::uint16_t>(at, table + std::size_t{4} * count + 2, static_cast<std::uint16_t>(value));
    storeLittle<std::uint64_t>(at, keys + key, id);
    storeLittle<std::uint64_t>(at, keys + key + 8, 1);
    storeLittle<std::uint32_t>(at, kBlock - 40 - value + 4, kBlock);
    storeLittle<std::uint64_t>(at, kBlock - 40 - value + 8, block);
    storeLittle<std::uint32_t>(at, 36, count + 1);
    storeLittle<std::uint16_t>(at, 44, static_cast<std::uint16_t>(key + 16));
    storeLittle<std::uint16_t>(at, 46, static_cast<std::uint16_t>(loadLittle<std::uint16_t>(at, 46) - 32));
    storeLittle<std::uint64_t>(at, kBlock - 16, count + 1); // keys in the tree
    seal(bytes, node);
}

// A second volume, encrypted, and a key bag that the library cannot open: the container as macOS leaves it when one of
// two volumes has been locked.
Bytes withEncryptedVolumeBeside(Bytes bytes) {
    const std::size_t copy = bytes.size() / kBlock - 2; // free
    const std::size_t keyBag = copy - 1;
    std::size_t volume = 0;
    while (!isAt(bytes, volume, "APSB")) {
        ++volume;
    }
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(volume * kBlock), kBlock,
                bytes.begin() + static_cast<std::ptrdiff_t>(copy * kBlock));
    storeLittle<std::uint64_t>(bytes, copy * kBlock + 8, 5000);
    storeLittle<std::uint32_t>(bytes, copy * kBlock + 36, 1);  // its place in the container
    storeLittle<std::uint64_t>(bytes, copy * kBlock + 264, 8); // one key for all, and not unencrypted
    seal(bytes, copy);
    mapObject(bytes, 5000, copy);
    const Bytes noiseBlock = noise(kBlock, 3);
    std::ranges::copy(noiseBlock, bytes.begin() + static_cast<std::ptrdiff_t>(keyBag * kBlock));
    for (const std::size_t block : superblocks(bytes)) {
        storeLittle<std::uint32_t>(bytes, block * kBlock + 180, 2);
        storeLittle<std::uint64_t>(bytes, block * kBlock + 192, 5000);
        storeLittle<std::uint64_t>(bytes, block * kBlock + 1296, keyBag);
        storeLittle<std::uint64_t>(bytes, block * kBlock + 1304, 1);
        seal(bytes, block);
    }
    return bytes;
}

TEST(ApfsMetadata, OfAnEncryptedVolumeIsNamedAndNotCalledDamaged) {
    const Bytes bytes = bytesOf(run("gzip -dc " TEST_IMAGES "/encrypted-apfs.img.gz"));
    try {
        openVolumes(inMemory(bytes));
        ADD_FAILURE();
    } catch (const ImageError& error) {
        EXPECT_EQ(error.kind(), ImageError::Kind::kEncrypted);
        EXPECT_STREQ(error.what(), "the APFS volume is encrypted, which this program does not read");
    }
}

TEST(ApfsMetadata, OfAnEncryptedVolumeLeavesTheOneBesideItReadable) {
    const Bytes plain = container();
    const auto alone = openVolumes(inMemory(plain));
    const auto volumes = openVolumes(inMemory(withEncryptedVolumeBeside(plain)));
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_EQ(volumes.front()->name(), "container-apfs");
    EXPECT_EQ(readTree(*volumes.front()), readTree(*alone.at(0)));
}

// Everything that a volume shows but the contents of its files, which APFS keeps no checksum of.
Tree shownBy(const Bytes& bytes) {
    const auto volumes = openVolumes(inMemory(bytes));
    if (volumes.empty()) {
        throw ImageError(ImageError::Kind::kDamaged, "not taken for a container any more");
    }
    Tree tree = readTree(*volumes.at(0));
    const Attributes root = volumes.at(0)->attributes(volumes.at(0)->root());
    tree["/"].contents =
        volumes.at(0)->name() + std::to_string(root.modified.tv_sec) + "." + std::to_string(root.modified.tv_nsec);
    return tree;
}

// One byte changed at a time, in the blocks that hold anything. Either the volume shows what it showed, or an error.
TEST(ApfsMetadata, ThatIsDamagedNeverShowsAChangedTree) {
    const Bytes sound = container();
    const Tree expected = shownBy(sound);
    const Bytes contents = bytesOf(expected.at("container").contents);
    const auto file = std::search(sound.begin(), sound.end(), contents.begin(), contents.end()) - sound.begin();
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < sound.size(); ++at) {
        if (sound[at] != std::byte{0} && at / kBlock != static_cast<std::size_t>(file) / kBlock) {
            places.push_back(at);
        }
    }
    std::mt19937_64 random(9);
    int refused = 0;
    for (int i = 0; i < 1000; ++i) {
        Bytes bytes = sound;
        const std::size_t at = places[random() % places.size()];
        bytes[at] ^= static_cast<std::byte>(1 + random() % 255);
        try {
            EXPECT_EQ(shownBy(bytes), expected) << "changed at " << at;
        } catch (const ImageError& error) {
            EXPECT_EQ(error.kind(), ImageError::Kind::kDamaged) << error.what();
            ++refused;
        }
    }
    EXPECT_GT(refused, 50);
}

} // namespace
} // namespace hdi::test
