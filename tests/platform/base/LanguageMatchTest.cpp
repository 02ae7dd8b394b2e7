#include "platform/base/LanguageMatch.h"
#include "platform/base/StringsTable.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    const char* wanted;
    const char* expected; // nullptr: none
};

const QStringList kWithRegions = {u"cs-CZ"_s, u"da-DK"_s, u"de-DE"_s, u"el-GR"_s, u"en-US"_s, u"es-ES"_s,
                                  u"fi-FI"_s, u"fr-FR"_s, u"hu-HU"_s, u"it-IT"_s, u"ja-JP"_s, u"ko-KR"_s,
                                  u"nb-NO"_s, u"nl-NL"_s, u"pl-PL"_s, u"pt-BR"_s, u"ru-RU"_s, u"sk-SK"_s,
                                  u"sv-SE"_s, u"tr-TR"_s, u"zh-CN"_s, u"zh-TW"_s, u"he-IL"_s};

const QStringList kPlain = {u"de"_s, u"en"_s, u"he"_s, u"nb"_s, u"pt-BR"_s, u"pt"_s, u"zh-Hans"_s, u"zh-Hant"_s};

void expectMatches(const std::vector<Row>& rows, const QStringList& available) {
    for (const Row& row : rows) {
        const auto found = platform::matchLanguage(QString::fromUtf8(row.wanted), available);
        EXPECT_EQ(found, row.expected ? std::optional(QString::fromUtf8(row.expected)) : std::nullopt) << row.wanted;
    }
}

} // namespace

TEST(LanguageMatch, FindsATableNamedWithARegionForEveryReaderOfTheLanguage) {
    expectMatches({{"de-AT", "de-DE"},      {"de", "de-DE"},      {"de_DE", "de-DE"},      {"DE-de", "de-DE"},
                   {"en-GB", "en-US"},      {"en", "en-US"},      {"nb", "nb-NO"},         {"nb-NO", "nb-NO"},
                   {"no", "nb-NO"},         {"no-NO", "nb-NO"},   {"pt-PT", "pt-BR"},      {"zh-Hans-CN", "zh-CN"},
                   {"zh-Hans-SG", "zh-CN"}, {"zh-Hans", "zh-CN"}, {"zh-Hant-HK", "zh-TW"}, {"zh-Hant", "zh-TW"},
                   {"zh-HK", "zh-TW"},      {"zh", "zh-CN"},      {"iw", "he-IL"},         {"iw-IL", "he-IL"},
                   {"he", "he-IL"}},
                  kWithRegions);
}

TEST(LanguageMatch, FindsATableNamedByLanguageAlone) {
    expectMatches({{"de-AT", "de"},
                   {"en-GB", "en"},
                   {"nb-NO", "nb"},
                   {"no", "nb"},
                   {"nn-NO", "nb"},
                   {"pt-PT", "pt"},
                   {"pt-BR", "pt-BR"},
                   {"zh-Hans-CN", "zh-Hans"},
                   {"zh-Hant-HK", "zh-Hant"},
                   {"zh-TW", "zh-Hant"},
                   {"zh-SG", "zh-Hans"},
                   {"iw-IL", "he"},
                   {"he-IL", "he"}},
                  kPlain);
}

TEST(LanguageMatch, FindsNothingInAnotherLanguageOrInAnotherChineseScript) {
    expectMatches({{"is-IS", nullptr}, {"d", nullptr}, {"", nullptr}, {"-", nullptr}, {"-DE", nullptr}}, kWithRegions);
    expectMatches({{"zh-Hant-TW", nullptr}, {"zh-HK", nullptr}}, {u"zh-CN"_s, u"zh"_s});
    expectMatches({{"zh-Hans-CN", nullptr}}, {u"zh-TW"_s});
    expectMatches({{"de", nullptr}}, {});
}

TEST(LanguageMatch, PrefersTheSameTagToAParentAndAParentToASibling) {
    expectMatches({{"pt-BR", "pt-BR"}, {"pt-PT", "pt"}}, {u"pt-AO"_s, u"pt"_s, u"pt-BR"_s});
}

TEST(ChosenLocalization, IsThatOfTheFirstPreferredLanguageThatHasOne) {
    const auto choose = [](const QStringList& preferred) {
        return StringsTable::chooseLocalization(preferred, kWithRegions, u"en-US"_s);
    };
    EXPECT_EQ(choose({u"is"_s, u"de-AT"_s, u"fr-FR"_s}), u"de-DE"_s);
    EXPECT_EQ(choose({u"is"_s}), u"en-US"_s);
    EXPECT_EQ(choose({}), u"en-US"_s);
}
