#include "platform/base/NumberText.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Qt::StringLiterals;

TEST(DoubleValue, TakesTheLongestLeadingDecimalNumber) {
    const std::pair<QString, double> rows[] = {
        {u" \t12.5kg"_s, 12.5},
        {u"+.25"_s, 0.25},
        {u"7,5"_s, 7},
        {u"1 000"_s, 1},
        {u"6e"_s, 6},
        {u"6e+"_s, 6},
        {u"- 3"_s, 0},
        {u"+-3"_s, 0},
        {u"-3"_s, -3},
        {u"0x1F"_s, 0},
        {u"inf"_s, 0},
        {u"nan"_s, 0},
        {u"Infinity"_s, 0},
        {u"-inf"_s, 0},
        {u"1e999"_s, std::numeric_limits<double>::infinity()},
        {u"-1e999"_s, -std::numeric_limits<double>::infinity()},
        {u"1e-999"_s, 0},
        {u"٣"_s, 0},
        {u"３"_s, 0},
        {u""_s, 0},
        {u"abc"_s, 0},
        {u"."_s, 0},
        {u"5."_s, 5},
        {u"\n\r\u00a0\u3000\u200b45\n"_s, 45},
        {u"1.5.7"_s, 1.5},
        {u"2e3e4"_s, 2000},
        {u"1-2"_s, 1},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(NumberText::doubleValue(text), value) << text.toStdString();
    }
}

TEST(DoubleValue, TakesAVeryLongNumber) {
    EXPECT_EQ(NumberText::doubleValue(QString(5000, u'9')), std::numeric_limits<double>::infinity());
    EXPECT_EQ(NumberText::doubleValue(u"0."_s + QString(5000, u'0') + u"1"_s), 0.0);
}
