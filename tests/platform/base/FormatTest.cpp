#include "platform/base/Format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

TEST(Format, FillsPlaceholdersFromLeftToRight) {
    EXPECT_EQ(formatText("%@/%@ %d%%", u"a"_s, u"b"_s, 7), u"a/b 7%"_s);
}

TEST(Format, ShowsAnAbsentTextAsNullAndAnEmptyOneAsNothing) {
    EXPECT_EQ(formatText("[%@][%@]", std::optional<QString>(), std::optional<QString>(QString())), u"[(null)][]"_s);
}

TEST(Format, DoesNotFillPlaceholdersInsideValues) {
    EXPECT_EQ(formatText("%@-%@", u"%@"_s, u"b%d"_s), u"%@-b%d"_s);
}

TEST(Format, ShowsAPlaceholderWithoutAValueAsNull) {
    EXPECT_EQ(formatText("%@ %@", u"a"_s), u"a (null)"_s);
}

TEST(Format, WritesNumbersWithoutGrouping) {
    EXPECT_EQ(formatText("%d %ld %f", -5, qint64{9007199254740993}, 1234567.25),
              u"-5 9007199254740993 1234567.250000"_s);
    EXPECT_EQ(formatText("%f", 1e22), u"10000000000000000000000.000000"_s);
    EXPECT_EQ(formatText("%@ %@", 3, 0.1), u"3 0.1"_s);
}

TEST(Format, ShowsANumberBeyondWholeNumbersAsTheNearestOne) {
    EXPECT_EQ(formatText("%d %d %d %d", 1e308, -1e308, std::nan(""), -2.9),
              u"9223372036854775807 -9223372036854775808 0 -2"_s);
    EXPECT_EQ(formatText("%d", 9223372036854775808.0), u"9223372036854775807"_s);
}

TEST(Format, ShowsAnExceptionByItsReasonElseItsName) {
    EXPECT_EQ(formatText("%@", PlatformException(u"NSRangeException"_s, u"too far"_s)), u"too far"_s);
    EXPECT_EQ(formatText("%@", PlatformException(u"NSRangeException"_s, QString())), u"NSRangeException"_s);
}

TEST(Format, ShowsAnAddressByItsOriginalText) {
    EXPECT_EQ(formatText("%@", Address::parse(u"HTTP://Host/%41"_s)), u"HTTP://Host/%41"_s);
    EXPECT_EQ(formatText("%@", Address::parse(u"not an address"_s)), u"(null)"_s);
}

TEST(Format, KeepsALonePercentSignAtTheEnd) {
    EXPECT_EQ(formatText("100%"), u"100%"_s);
}

TEST(Describe, WritesDictionariesWithSortedKeysAndQuotesWhatIsNoPlainWord) {
    const QVariantMap dictionary{
        {u"b"_s, u"two words"_s}, {u"a"_s, 1}, {u"c"_s, QVariantList{u"x"_s, u"ü"_s}}, {u"d-e"_s, true}};
    EXPECT_EQ(describe(dictionary), u"{\n"
                                    "    a = 1;\n"
                                    "    b = \"two words\";\n"
                                    "    c = (\n"
                                    "        x,\n"
                                    "        \"\\U00fc\"\n"
                                    "    );\n"
                                    "    \"d-e\" = 1;\n"
                                    "}"_s);
}

TEST(Describe, WritesEmptyContainersOnTwoLines) {
    EXPECT_EQ(describe(QVariantMap()), u"{\n}"_s);
    EXPECT_EQ(describe(QStringList()), u"(\n)"_s);
}

TEST(Describe, WritesArgumentListsOneItemALine) {
    EXPECT_EQ(describe(QStringList{u"/a/QNInstaller"_s, u"word"_s}), u"(\n    \"/a/QNInstaller\",\n    word\n)"_s);
}

TEST(Describe, ShowsScalarsAsTheyAreAndNothingAsNull) {
    EXPECT_EQ(describe(QVariant()), u"(null)"_s);
    EXPECT_EQ(describe(QVariant(u"a \"b\""_s)), u"a \"b\""_s);
    EXPECT_EQ(describe(QVariant(true)), u"1"_s);
    EXPECT_EQ(describe(QVariant(0.45F)), u"0.45"_s);
}
