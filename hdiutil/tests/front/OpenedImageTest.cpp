#include "hdiutil/front/OpenedImage.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/image/Tools.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

constexpr std::size_t kPartition = 200; // sectors

void put(Bytes& disk, std::size_t at, std::string_view text) {
    const Bytes bytes = bytesOf(text);
    std::copy(bytes.begin(), bytes.end(), disk.begin() + static_cast<std::ptrdiff_t>(at));
}

// What a partition begins with that holds no volume that can be used.
void putForeign(Bytes& disk, std::size_t sector) {
    put(disk, sector * 512 + 3, "EXFAT   ");
    storeBig<std::uint16_t>(disk, sector * 512 + 510, 0x55aa);
}
void putDamaged(Bytes& disk, std::size_t sector) {
    put(disk, sector * 512 + 1024, std::string_view("H+\0\4", 4));
}

// A disk with two partitions.
Bytes diskOfTwo(void (*first)(Bytes&, std::size_t), void (*second)(Bytes&, std::size_t)) {
    Bytes disk((1 + 2 * kPartition) * 512);
    storeBig<std::uint16_t>(disk, 510, 0x55aa);
    for (std::uint32_t number = 0; number < 2; ++number) {
        const std::size_t entry = 446 + 16 * number;
        disk[entry + 4] = std::byte{0xaf};
        storeLittle<std::uint32_t>(disk, entry + 8, static_cast<std::uint32_t>(1 + number * kPartition));
        storeLittle<std::uint32_t>(disk, entry + 12, kPartition);
    }
    first(disk, 1);
    second(disk, 1 + kPartition);
    return disk;
}

std::string refusalOf(const Bytes& disk) {
    const TemporaryFolder folder;
    const std::string path = folder / "two.img";
    writeFile(path, disk);
    try {
        openImage(path);
    } catch (const FrontError& error) {
        return error.what();
    }
    return "none";
}

} // namespace

// Of several reasons the one that somebody can do something about.
TEST(OpenedImage, TellsOfTheDamagedPartitionWhereAnotherIsMerelyForeign) {
    const std::string damaged = refusalOf(diskOfTwo(putDamaged, putForeign));
    EXPECT_NE(damaged.find("corrupted"), std::string::npos) << damaged;
    EXPECT_EQ(refusalOf(diskOfTwo(putForeign, putDamaged)), damaged);
    const std::string foreign = refusalOf(diskOfTwo(putForeign, putForeign));
    EXPECT_NE(foreign.find("exFAT"), std::string::npos) << foreign;
}

} // namespace hdi::test
