#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

namespace hdi::test {

TEST(Slice, CountsFromItsOwnBeginning) {
    const ByteSourcePtr part = slice(inMemory(bytesOf("0123456789")), 3, 5);
    EXPECT_EQ(part->size(), 5U);
    EXPECT_EQ(readAll(*part), bytesOf("34567"));
}

TEST(Slice, RefusesReadsBeyondItsEnd) {
    const ByteSourcePtr part = slice(inMemory(bytesOf("0123456789")), 3, 5);
    Bytes into(3);
    EXPECT_EQ(errorOf([&] { part->read(3, into); }), ImageError::Kind::kOutOfRange);
    EXPECT_EQ(errorOf([&] { part->read(UINT64_MAX - 1, into); }), ImageError::Kind::kOutOfRange);
}

TEST(Slice, RefusesToReachBeyondItsDisk) {
    const ByteSourcePtr disk = inMemory(bytesOf("0123456789"));
    EXPECT_EQ(errorOf([&] { slice(disk, 8, 3); }), ImageError::Kind::kOutOfRange);
    EXPECT_EQ(errorOf([&] { slice(disk, 11, 0); }), ImageError::Kind::kOutOfRange);
    EXPECT_EQ(errorOf([&] { slice(disk, 2, UINT64_MAX); }), ImageError::Kind::kOutOfRange);
}

} // namespace hdi::test
