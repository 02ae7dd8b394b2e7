#include "platform/base/PlatformException.h"
#include "ui/StyledText.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TextAttributes colored(double red) {
    TextAttributes attributes;
    attributes.color = Color{red, 0.0, 0.0, 1.0};
    return attributes;
}

} // namespace

TEST(StyledText, HoldsPlainTextAsOneRunWithoutAttributes) {
    const StyledText text = u"word"_s;
    ASSERT_EQ(text.runs().size(), 1U);
    EXPECT_EQ(text.runs()[0], (StyledText::Run{u"word"_s, {}}));
}

TEST(StyledText, IsEmptyForAnEmptyText) {
    EXPECT_TRUE(StyledText(QString()).runs().empty());
    EXPECT_TRUE(StyledText(u""_s).isEmpty());
}

TEST(StyledText, OverwritesAttributesOfTheSameKindAndKeepsTheOthers) {
    TextAttributes base = colored(0.1);
    base.font = FontChoice{u"CommonSans-Light"_s, 14.0};
    StyledText text(u"word"_s, base);
    text.addAttributes(colored(0.5));
    ASSERT_EQ(text.runs().size(), 1U);
    EXPECT_EQ(text.runs()[0].attributes.color, (Color{0.5, 0.0, 0.0, 1.0}));
    EXPECT_EQ(text.runs()[0].attributes.font, (FontChoice{u"CommonSans-Light"_s, 14.0}));
}

TEST(StyledText, SplitsRunsAtTheEndsOfAHalfOpenRange) {
    StyledText text(u"abcdef"_s);
    text.addAttributes(colored(1.0), 2, 3);
    ASSERT_EQ(text.runs().size(), 3U);
    EXPECT_EQ(text.runs()[0].text, u"ab"_s);
    EXPECT_EQ(text.runs()[1].text, u"cde"_s);
    EXPECT_EQ(text.runs()[2].text, u"f"_s);
    EXPECT_FALSE(text.attributesAt(1).color);
    EXPECT_TRUE(text.attributesAt(2).color);
    EXPECT_TRUE(text.attributesAt(4).color);
    EXPECT_FALSE(text.attributesAt(5).color);
}

TEST(StyledText, RaisesForARangeOutsideTheText) {
    StyledText text(u"abc"_s);
    EXPECT_THROW(text.addAttributes(colored(1.0), 2, 2), PlatformException);
    EXPECT_THROW(text.addAttributes(colored(1.0), -1, 1), PlatformException);
    EXPECT_THROW(text.addAttributes(colored(1.0), 0, -1), PlatformException);
    EXPECT_THROW(static_cast<void>(text.attributesAt(3)), PlatformException);
}

TEST(StyledText, MakesALinkWithTheAddressAndThePointingHandAndNothingElse) {
    const StyledText link = StyledText::hyperlinkFromString(u"here"_s, u"https://h/x"_s);
    TextAttributes expected;
    expected.link = u"https://h/x"_s;
    expected.cursor = Qt::PointingHandCursor;
    ASSERT_EQ(link.runs().size(), 1U);
    EXPECT_EQ(link.runs()[0], (StyledText::Run{u"here"_s, expected}));
}
