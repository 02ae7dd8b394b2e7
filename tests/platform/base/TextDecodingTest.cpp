#include "platform/base/TextDecoding.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(DecodeUtf8, TellsInvalidBytesFromEmptyOnes) {
    EXPECT_EQ(platform::decodeUtf8(QByteArray()), u""_s);
    EXPECT_EQ(platform::decodeUtf8("gr\xC3\xBC\xC3\x9F"), u"grüß"_s);
    EXPECT_EQ(platform::decodeUtf8("a\xFF"), std::nullopt);
    EXPECT_EQ(platform::decodeUtf8("cut \xC3"), std::nullopt);
}

TEST(DecodeSystemText, EndsAtTheFirstZeroByte) {
    EXPECT_EQ(platform::decodeSystemText(QByteArray("ab\0cd", 5)), u"ab"_s);
    EXPECT_EQ(platform::decodeSystemText(QByteArray("\0cd", 3)), u""_s);
}

TEST(DecodeSystemText, FallsBackToLatinWhereTheBytesAreNoUtf8) {
    EXPECT_EQ(platform::decodeSystemText("\xA3 5"), u"£ 5"_s);
    EXPECT_EQ(platform::decodeSystemText("\xC2\xA3 5"), u"£ 5"_s);
}
