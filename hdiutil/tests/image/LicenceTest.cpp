#include "hdiutil/image/Licence.h"
#include "hdiutil/image/MacRoman.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace hdi::test {

namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

Resource resource(int id, const std::string& data) {
    return {id, "", bytesOf(data)};
}

// Default language 3; language 0 has text 5002, language 3 text 5001.
const std::string kLanguages = "\0\3\0\2\0\0\0\2\0\0\0\3\0\1\0\0"s;

} // namespace

TEST(Licence, ComesInTheDefaultLanguageFirst) {
    const Resources resources = {{"LPic", {resource(5000, kLanguages)}},
                                 {"TEXT", {resource(5002, "English"), resource(5001, "Deutsch")}}};
    EXPECT_THAT(licenceTexts(resources), ElementsAre("Deutsch", "English"));
}

TEST(Licence, ComesInTheOrderOfNumbersWithoutAList) {
    EXPECT_THAT(licenceTexts({{"TEXT", {resource(5002, "b"), resource(5001, "a")}}}), ElementsAre("a", "b"));
    EXPECT_THAT(licenceTexts({{"LPic", {resource(5000, "\0")}}, {"TEXT", {resource(5002, "b")}}}), ElementsAre("b"));
    EXPECT_THAT(licenceTexts({}), IsEmpty());
}

TEST(Licence, IsPlainTextAlsoWhenItIsFormatted) {
    const std::string rtf = "{\\rtf1\\mac{\\fonttbl\\f0 Geneva;}{\\colortbl;\\red0;}{\\*\\generator x;}{\\info{\\title "
                            "t}}\\f0\\fs24 You \\b may\\b0  not\\par\r\ncopy\\line \\'a9 \\{this\\}\\u8364?.}";
    EXPECT_THAT(licenceTexts({{"RTF ", {resource(5000, rtf)}}}), ElementsAre("You may not\ncopy\n© {this}€."));
}

TEST(Licence, PrefersPlainTextToFormatted) {
    const Resources resources = {{"TEXT", {resource(5000, "plain")}},
                                 {"RTF ", {resource(5000, "{\\rtf1 formatted}"), resource(5001, "{\\rtf1 other}")}}};
    EXPECT_THAT(licenceTexts(resources), ElementsAre("plain", "other"));
}

TEST(Licence, SurvivesBrokenFormatting) {
    for (const std::string& rtf : {"{\\rtf1"s, "{\\rtf1\\'"s, "{\\rtf1\\'z"s, "}}}}{\\u"s, "\\"s, "\\u99999999999 a"s,
                                   std::string(100000, '{')}) {
        EXPECT_LE(licenceTexts({{"RTF ", {resource(5000, rtf)}}}).size(), 1U);
    }
}

TEST(MacRoman, BecomesUtf8) {
    EXPECT_EQ(utf8FromMacRoman(bytesOf("\x80\x8e\xa9\xca\xd2\xdb\xf5")), "Äé©\u00a0“€ı");
}

TEST(MacRoman, HasLineFeedsAndNoControlCharacters) {
    EXPECT_EQ(utf8FromMacRoman(bytesOf("a\rb\r\nc\nd\te\0f\x1b\x7f"s)), "a\nb\nc\nd\tef");
}

} // namespace hdi::test
