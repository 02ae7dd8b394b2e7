#include "platform/base/LanguageMatch.h"
#include "platform/base/StringsTable.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

struct Row {
    const char* wanted;
    const char* expected; // nullptr: none
};

const QStringList kWithRegions = {
    QStringLiteral("cs-CZ"), QStringLiteral("da-DK"), QStringLiteral("de-DE"), QStringLiteral("el-GR"),
    QStringLiteral("en-US"), QStringLiteral("es-ES"), QStringLiteral("fi-FI"), QStringLiteral("fr-FR"),
    QStringLiteral("hu-HU"), QStringLiteral("it-IT"), QStringLiteral("ja-JP"), QStringLiteral("ko-KR"),
    QStringLiteral("nb-NO"), QStringLiteral("nl-NL"), QStringLiteral("pl-PL"), QStringLiteral("pt-BR"),
    QStringLiteral("ru-RU"), QStringLiteral("sk-SK"), QStringLiteral("sv-SE"), QStringLiteral("tr-TR"),
    QStringLiteral("zh-CN"), QStringLiteral("zh-TW"), QStringLiteral("he-IL")};

const QStringList kPlain = {QStringLiteral("de"),      QStringLiteral("en"),     QStringLiteral("he"),
                            QStringLiteral("nb"),      QStringLiteral("pt-BR"),  QStringLiteral("pt"),
                            QStringLiteral("zh-Hans"), QStringLiteral("zh-Hant")};

void expectMatches(const std::vector<Row>& rows, const QStringList& available) {
    for (const Row& row : rows) {
        const auto found = matchLanguage(QString::fromUtf8(row.wanted), available);
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
    expectMatches({{"zh-Hant-TW", nullptr}, {"zh-HK", nullptr}}, {QStringLiteral("zh-CN"), QStringLiteral("zh")});
    expectMatches({{"zh-Hans-CN", nullptr}}, {QStringLiteral("zh-TW")});
    expectMatches({{"de", nullptr}}, {});
}

TEST(LanguageMatch, PrefersTheSameTagToAParentAndAParentToASibling) {
    expectMatches({{"pt-BR", "pt-BR"}, {"pt-PT", "pt"}},
                  {QStringLiteral("pt-AO"), QStringLiteral("pt"), QStringLiteral("pt-BR")});
}

TEST(ChosenLocalization, IsThatOfTheFirstPreferredLanguageThatHasOne) {
    const auto choose = [](const QStringList& preferred) {
        return StringsTable::chooseLocalization(preferred, kWithRegions, QStringLiteral("en-US"));
    };
    EXPECT_EQ(choose({QStringLiteral("is"), QStringLiteral("de-AT"), QStringLiteral("fr-FR")}),
              QStringLiteral("de-DE"));
    EXPECT_EQ(choose({QStringLiteral("is")}), QStringLiteral("en-US"));
    EXPECT_EQ(choose({}), QStringLiteral("en-US"));
}
