#include "hdiutil/image/Crc32.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

namespace hdi::test {

TEST(Crc32, IsTheOneThatEverybodyUses) {
    EXPECT_EQ(crc32(bytesOf("123456789")), 0xcbf43926U);
    EXPECT_EQ(crc32({}), 0U);
}

TEST(Crc32, GoesOnFromWhatPrecedes) {
    EXPECT_EQ(crc32(bytesOf("6789"), crc32(bytesOf("12345"))), 0xcbf43926U);
}

TEST(Crc32, OfPiecesJoinedIsThatOfTheWhole) {
    const Bytes whole = noise(70001, 1);
    for (const std::size_t cut : {0U, 1U, 7U, 512U, 65536U, 70001U}) {
        const std::span<const std::byte> bytes = whole;
        EXPECT_EQ(joinCrc32(crc32(bytes.first(cut)), crc32(bytes.subspan(cut)), whole.size() - cut), crc32(whole))
            << cut;
    }
}

TEST(Crc32, OfZerosNeedsNoZeros) {
    for (const std::size_t length : {0U, 1U, 512U, 100000U}) {
        EXPECT_EQ(crc32OfZeros(length), crc32(Bytes(length))) << length;
    }
    EXPECT_EQ(crc32OfZeros(std::uint64_t{1} << 40U),
              joinCrc32(crc32OfZeros(std::uint64_t{1} << 39U), crc32OfZeros(std::uint64_t{1} << 39U),
                        std::uint64_t{1} << 39U));
}

} // namespace hdi::test
