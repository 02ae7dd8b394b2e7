#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/tests/image/TestBytes.h"
#include "hdiutil/volume/ForeignFileSystems.h"
#include "hdiutil/volume/Volume.h"

#include <gmock/gmock.h>

namespace hdi::test {
namespace {

// The first sector of a FAT volume of that many sectors, as mkfs makes it.
Bytes fatSector(std::uint32_t sectors, std::uint16_t fatSectors16, std::uint32_t fatSectors32) {
    Bytes sector(512);
    sector[0] = std::byte{0xEB};
    sector[2] = std::byte{0x90};
    storeLittle<std::uint16_t>(sector, 11, 512);
    sector[13] = std::byte{1};
    storeLittle<std::uint16_t>(sector, 14, 32);
    sector[16] = std::byte{2};
    storeLittle<std::uint16_t>(sector, 17, fatSectors16 != 0 ? 512 : 0);
    storeLittle<std::uint16_t>(sector, 19, static_cast<std::uint16_t>(sectors < 65536 ? sectors : 0));
    sector[21] = std::byte{0xF8};
    storeLittle<std::uint16_t>(sector, 22, fatSectors16);
    storeLittle<std::uint32_t>(sector, 32, sectors < 65536 ? 0 : sectors);
    storeLittle<std::uint32_t>(sector, 36, fatSectors32);
    sector[510] = std::byte{0x55};
    sector[511] = std::byte{0xAA};
    return sector;
}

std::string refusal(const Bytes& partition) {
    try {
        openVolumes(inMemory(partition));
        return "";
    } catch (const ImageError& error) {
        EXPECT_EQ(error.kind(), ImageError::Kind::kUnsupported);
        return error.what();
    }
}

TEST(ForeignFileSystems, AreRefusedByName) {
    EXPECT_THAT(refusal(fatSector(2880, 9, 0)), testing::HasSubstr("FAT12"));
    EXPECT_THAT(refusal(fatSector(40'000, 160, 0)), testing::HasSubstr("FAT16"));
    EXPECT_THAT(refusal(fatSector(409'600, 0, 3150)), testing::HasSubstr("FAT32"));
    Bytes exfat(512);
    std::ranges::copy(bytesOf("EXFAT   "), exfat.begin() + 3);
    exfat[510] = std::byte{0x55};
    exfat[511] = std::byte{0xAA};
    EXPECT_THAT(refusal(exfat), testing::HasSubstr("exFAT"));
}

TEST(ForeignFileSystems, AreRefusedWithTheProgramThatReadsThem) {
    EXPECT_EQ(refusal(fatSector(2880, 9, 0)), "the volume is in the FAT12 format, which mtools (mdir, mcopy) reads");
    Bytes disc(40000);
    std::ranges::copy(bytesOf("\1CD001"), disc.begin() + 32768);
    EXPECT_EQ(refusal(disc), "the volume is in the ISO 9660 or UDF format, which 7zz reads");
    Bytes hfs(4096);
    std::ranges::copy(bytesOf("BD"), hfs.begin() + 1024);
    EXPECT_EQ(refusal(hfs), "the volume is in the old HFS format, which hfsutils (hmount, hcopy) reads");
}

TEST(ForeignFileSystems, ThatAreUnknownHaveNoVolumes) {
    EXPECT_EQ(refusal({}), "");
    EXPECT_EQ(refusal(Bytes(511)), "");
    EXPECT_EQ(refusal(Bytes(100'000)), "");
    Bytes bootSector(8192, std::byte{0x90}); // a master boot record's program
    bootSector[0] = std::byte{0xEB};
    bootSector[510] = std::byte{0x55};
    bootSector[511] = std::byte{0xAA};
    EXPECT_EQ(refusal(bootSector), "");
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        EXPECT_EQ(refusal(noise(8192, seed)), "");
    }
}

TEST(ForeignFileSystems, SurviveEveryByte) {
    const Bytes good = fatSector(2880, 9, 0);
    for (std::size_t at = 0; at < good.size(); ++at) {
        for (const unsigned value : {0U, 1U, 0x7FU, 0x80U, 0xFFU}) {
            Bytes broken = good;
            broken[at] = static_cast<std::byte>(value);
            refusal(broken);
        }
    }
}

} // namespace
} // namespace hdi::test
