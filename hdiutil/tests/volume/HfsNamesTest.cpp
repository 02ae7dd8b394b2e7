#include "hdiutil/volume/HfsNames.h"
#include "hdiutil/volume/SafeNames.h"

#include <gtest/gtest.h>

namespace hdi::hfs {
namespace {

TEST(HfsNames, AreDecomposedAsTheFormatDoes) {
    const struct {
        std::u16string_view from, to;
    } cases[] = {
        {u"plain", u"plain"},
        {u"\u00e9", u"e\u0301"},
        {u"\u1e69", u"s\u0323\u0307"},        // over two steps
        {u"s\u0307\u0323", u"s\u0323\u0307"}, // marks in canonical order
        {u"\uac01", u"\u1100\u1161\u11a8"},   // Hangul
        {u"\u0390", u"\u03b9\u0308\u0301"},   // Greek
        {u"\ufb2a", u"\u05e9\u05c1"},         // Hebrew
        {u"\u212b", u"\u212b"},               // letters of U+2000 to U+2FFF stay
        {u"\uf900", u"\uf900"},               // and those of U+F900 to U+FAFF
        {u"\u1b06", u"\u1b06"},               // too young
        {u"\ufb01", u"\ufb01"},               // only compatible, not canonical
        {u"\xd834\xdd5e", u"\xd834\xdd5e"},   // outside the basic plane
        {u"\xd800", u"\xd800"},               // no text at all
    };
    for (const auto& [from, to] : cases) {
        EXPECT_EQ(decompose(from), to) << toUtf8(from);
    }
}

// One unit of every kind in TN1150's table, and what only looks like it should be there.
TEST(HfsNames, AreFoldedByTheFormatsOwnTable) {
    const struct {
        char16_t from, to;
    } cases[] = {
        {u'A', u'a'},     {u'Z', u'z'},     {u'a', u'a'},     {u'@', u'@'},     {u'[', u'['},     {0x0000, 0xFFFF},
        {0x00C6, 0x00E6}, {0x00D0, 0x00F0}, {0x00D8, 0x00F8}, {0x00DE, 0x00FE}, {0x00C0, 0x00C0}, {0x00DF, 0x00DF},
        {0x0110, 0x0111}, {0x0130, 0x0130}, {0x0132, 0x0133}, {0x013F, 0x0140}, {0x0140, 0x0140}, {0x0141, 0x0142},
        {0x014A, 0x014B}, {0x0181, 0x0253}, {0x0182, 0x0183}, {0x0183, 0x0183}, {0x0184, 0x0185}, {0x0186, 0x0254},
        {0x0189, 0x0256}, {0x018A, 0x0257}, {0x018E, 0x01DD}, {0x018F, 0x0259}, {0x0190, 0x025B}, {0x0193, 0x0260},
        {0x0194, 0x0263}, {0x0196, 0x0269}, {0x0197, 0x0268}, {0x019C, 0x026F}, {0x019D, 0x0272}, {0x019F, 0x0275},
        {0x01A6, 0x01A6}, {0x01A9, 0x0283}, {0x01AE, 0x0288}, {0x01B1, 0x028A}, {0x01B2, 0x028B}, {0x01B7, 0x0292},
        {0x01C4, 0x01C6}, {0x01C5, 0x01C6}, {0x01C8, 0x01C9}, {0x01CA, 0x01CC}, {0x01F1, 0x01F3}, {0x01F2, 0x01F3},
        {0x0391, 0x03B1}, {0x03A2, 0x03A2}, {0x03A9, 0x03C9}, {0x03C2, 0x03C2}, {0x03E2, 0x03E3}, {0x03EE, 0x03EF},
        {0x0402, 0x0452}, {0x0401, 0x0401}, {0x0406, 0x0456}, {0x0407, 0x0407}, {0x040F, 0x045F}, {0x0410, 0x0430},
        {0x0419, 0x0419}, {0x042F, 0x044F}, {0x0460, 0x0461}, {0x0474, 0x0475}, {0x0476, 0x0476}, {0x0478, 0x0479},
        {0x0480, 0x0481}, {0x0490, 0x0491}, {0x04BE, 0x04BF}, {0x04C0, 0x04C0}, {0x04C3, 0x04C4}, {0x04C7, 0x04C8},
        {0x04CB, 0x04CC}, {0x04D0, 0x04D0}, {0x0531, 0x0561}, {0x0556, 0x0586}, {0x0557, 0x0557}, {0x10A0, 0x10D0},
        {0x10C5, 0x10F5}, {0x1E00, 0x1E00}, {0x200B, 0x200B}, {0x200C, 0x0000}, {0x200F, 0x0000}, {0x202A, 0x0000},
        {0x202E, 0x0000}, {0x2069, 0x2069}, {0x206A, 0x0000}, {0x206F, 0x0000}, {0x2160, 0x2170}, {0x216F, 0x217F},
        {0xFEFF, 0x0000}, {0xFF21, 0xFF41}, {0xFF3A, 0xFF5A}, {0xFF3B, 0xFF3B}, {0xFFFF, 0xFFFF},
    };
    for (const auto& [from, to] : cases) {
        EXPECT_EQ(foldCase(from), to) << std::hex << static_cast<unsigned>(from);
    }
}

TEST(HfsNames, AreOrderedAsInACatalog) {
    EXPECT_EQ(compareNames(u"name", u"NAME", false), 0);
    EXPECT_GT(compareNames(u"name", u"NAME", true), 0);
    EXPECT_LT(compareNames(u"a", u"ab", false), 0);
    EXPECT_LT(compareNames(u"", u"a", false), 0);
    EXPECT_EQ(compareNames(u"a\u200db", u"ab\ufeff", false), 0);             // ignored units
    EXPECT_GT(compareNames(std::u16string_view(u"\0x", 2), u"z", false), 0); // a NUL comes last
    EXPECT_LT(compareNames(std::u16string_view(u"\0x", 2), u"a", true), 0);
}

TEST(HfsNames, GoToUtf8AndBack) {
    EXPECT_EQ(toUtf8(u"a\u00e9\u4e2d\xd83d\xde00"), "a\u00e9\u4e2d\U0001f600");
    EXPECT_EQ(toUtf16("a\u00e9\u4e2d\U0001f600"), u"a\u00e9\u4e2d\xd83d\xde00");
    EXPECT_EQ(toUtf8(u"\xd800x\xdc00"), "\ufffdx\ufffd");
    EXPECT_EQ(toUtf16("\xff\xc3"), u"\ufffd\ufffd");
    EXPECT_EQ(toUtf16("\xed\xa0\x80"), u"\ufffd\ufffd\ufffd"); // a surrogate is no text
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("\u00e9"));
    EXPECT_FALSE(isUtf8("\xe9"));
}

TEST(SafeNames, FitIntoOneComponentOfAPath) {
    const struct {
        std::string stored, safe;
    } cases[] = {
        {"name.txt", "name.txt"},
        {"a/b", "a:b"},
        {std::string("a\0b", 3), "a\u2400b"},
        {"", "#1F"},
        {".", ".#1F"},
        {"..", "..#1F"},
        {"...", "..."},
        {"Icon\r", "Icon\r"},
        {"../../etc/passwd", "..:..:etc:passwd"},
        {std::string(255, 'x'), std::string(255, 'x')},
        {std::string(256, 'x'), std::string(252, 'x') + "#1F"},
        {std::string(256, 'x') + ".app", std::string(248, 'x') + "#1F.app"},
        {"." + std::string(256, 'x'), "." + std::string(251, 'x') + "#1F"},
    };
    for (const auto& [stored, safe] : cases) {
        EXPECT_EQ(safeName(stored, 31), safe) << stored;
    }
}

TEST(SafeNames, AreCutBetweenCharacters) {
    std::string stored;
    for (int i = 0; i < 255; ++i) {
        stored += "\u4e2d";
    }
    const std::string safe = safeName(stored, 0xABCDEF0);
    EXPECT_EQ(safe.size(), 254U); // 82 characters of three bytes, and the number
    EXPECT_TRUE(isUtf8(safe));
    EXPECT_TRUE(safe.ends_with("#ABCDEF0"));
}

} // namespace
} // namespace hdi::hfs
