#include "platform/base/Color.h"
#include "tests/support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString hexOf(const QString& text) {
    const auto color = Color::colorWithHex(text);
    return color ? color->hexColor() : u"nothing"_s;
}

} // namespace

TEST(Color, ReadsSixAndThreeDigitsAndIgnoresEveryHashSign) {
    const Color white{1.0, 1.0, 1.0, 1.0};
    for (const auto& text : {u"#FFF"_s, u"FFF"_s, u"#FFFFFF"_s, u"FF#FFFF"_s, u"##F#F#F"_s}) {
        EXPECT_EQ(Color::colorWithHex(text), white) << text.toStdString();
    }
}

TEST(Color, GivesTheSameColorForShortAndLongAndForLowerCase) {
    EXPECT_EQ(Color::colorWithHex(u"abc"_s), Color::colorWithHex(u"#AABBCC"_s));
    EXPECT_EQ(hexOf(u"abc"_s), u"#AABBCC"_s);
}

TEST(Color, DoublesEachDigitOfTheShortForm) {
    EXPECT_EQ(hexOf(u"#F80"_s), u"#FF8800"_s);
}

TEST(Color, IsNothingForAnyOtherLength) {
    for (const auto& text : {u""_s, u"#"_s, u"F"_s, u"FF"_s, u"FFFF"_s, u"#ABCDE"_s, u"#1234567"_s, u"#FFFFFFFF"_s}) {
        EXPECT_EQ(Color::colorWithHex(text), std::nullopt) << text.toStdString();
    }
}

TEST(Color, MovesLaterComponentsForwardOverAPairThatIsNoNumber) {
    const std::pair<QString, QString> table[] = {
        {u"#GGFF00"_s, u"#FF0000"_s}, // FF and 00 fill red and green
        {u"#GG0000"_s, u"#000000"_s}, {u"#GGGGGG"_s, u"#000000"_s}, {u"FFGG80"_s, u"#FF8000"_s},
        {u"G8F"_s, u"#88FF00"_s},     {u"#1122GG"_s, u"#112200"_s}, {u"Z1FF00"_s, u"#FF0000"_s},
    };
    for (const auto& [text, expected] : table) {
        EXPECT_EQ(hexOf(text), expected) << text.toStdString();
    }
}

TEST(Color, TakesTheFirstDigitAloneWhereTheSecondIsNone) {
    EXPECT_EQ(Color::colorWithHex(u"1ZFFFF"_s)->red, static_cast<double>(1.0F / 255.0F));
    EXPECT_EQ(hexOf(u"F FFFF"_s), u"#0FFFFF"_s);
    EXPECT_EQ(hexOf(u"0xFFFF"_s), u"#00FFFF"_s); // no prefix: a zero with something behind it
}

TEST(Color, LetsAPairThatBeginsWithABlankOrASignContributeNothing) {
    EXPECT_EQ(hexOf(u" FFF00"_s), u"#FF0000"_s);
    EXPECT_EQ(hexOf(u"\tFFF00"_s), u"#FF0000"_s);
    EXPECT_EQ(hexOf(u"-1FF00"_s), u"#FF0000"_s);
    EXPECT_EQ(hexOf(u"+1FF00"_s), u"#FF0000"_s);
}

TEST(Color, TakesCharactersOutsideAsciiForNoDigits) {
    EXPECT_EQ(hexOf(u"\u0664\u0664FF00"_s), u"#FF0000"_s);   // Arabic digits
    EXPECT_EQ(hexOf(u"\uFF26\uFF26\uFF26"_s), u"#000000"_s); // full-width letters
    EXPECT_EQ(hexOf(u"\u0146FFF00"_s), u"#FF0000"_s);        // its low byte is the letter F
}

TEST(Color, StopsAtAZeroCharacterAndPadsWithZero) {
    QString text = u"FF0080"_s;
    text[2] = QChar(0);
    EXPECT_EQ(hexOf(text), u"#FF0000"_s);
    QString inside = u"FF8080"_s;
    inside[3] = QChar(0);
    EXPECT_EQ(hexOf(inside), u"#FF0000"_s);
}

TEST(Color, AlwaysReadsFullAlpha) {
    EXPECT_EQ(Color::colorWithHex(u"#000"_s)->alpha, 1.0);
}

TEST(Color, DividesInSinglePrecision) {
    EXPECT_EQ(Color::colorWithHex(u"#1A1A1A"_s)->red, 0.101960785686969757); // not 0.10196078431372549
}

TEST(Color, WritesBackEveryComponentItRead) {
    for (int value = 0; value < 256; ++value) {
        const QString text = u"#%1%1%1"_s.arg(value, 2, 16, QLatin1Char('0')).toUpper();
        EXPECT_EQ(hexOf(text), text);
    }
}

TEST(Color, TruncatesAndDoesNotRound) {
    EXPECT_EQ((Color{0.5, 0.999, 0.0, 0.25}.hexColor()), u"#7FFE00"_s);
}
