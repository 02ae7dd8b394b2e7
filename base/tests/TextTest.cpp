#include "base/Text.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace base {
namespace {

using Parts = std::vector<std::string_view>;

TEST(Split, KeepsEmptyPartsButNoneAtTheEnd) {
    EXPECT_EQ(split("a  b", ' '), (Parts{"a", "", "b"}));
    EXPECT_EQ(split(" a ", ' '), (Parts{"", "a"}));
    EXPECT_EQ(split("", ' '), Parts());
}

TEST(Trimmed, LosesTheBlanksAtItsEndsOnly) {
    EXPECT_EQ(trimmed(" \t a b\r\n"), "a b");
    EXPECT_EQ(trimmed("\ta ", " "), "\ta");
    EXPECT_EQ(trimmed(" \n "), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(ParseNumber, TakesWholeTextsOnly) {
    EXPECT_EQ(parseNumber<int>("-12"), -12);
    EXPECT_EQ(parseNumber<std::uint64_t>("18446744073709551615"), 18446744073709551615U);
    EXPECT_EQ(parseNumber<unsigned>("ff", 16), 255U);
    for (const char* text : {"", " 1", "1 ", "+1", "x", "99999999999"}) {
        EXPECT_EQ(parseNumber<int>(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace base
