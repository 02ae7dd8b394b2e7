#include "platform/linux/LocaleNames.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct Row {
    const char* lcAll;
    const char* lcMessages;
    const char* lang;
    const char* language;
    const char* expectedLanguages; // separated by blanks
    const char* expectedCountry;   // empty: absent
};

platform::LocaleVariables variablesOf(const Row& row) {
    return {QString::fromUtf8(row.lcAll), QString::fromUtf8(row.lcMessages), QString::fromUtf8(row.lang),
            QString::fromUtf8(row.language)};
}

void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const auto variables = variablesOf(row);
        const std::string name = std::string(row.lcAll) + "|" + row.lcMessages + "|" + row.lang + "|" + row.language;
        EXPECT_EQ(platform::languagesFrom(variables).join(u' ').toStdString(), row.expectedLanguages) << name;
        EXPECT_EQ(platform::territoryFrom(variables).value_or(QString()).toStdString(), row.expectedCountry) << name;
    }
}

} // namespace

TEST(LocaleNames, TakeTheFirstVariableThatIsSet) {
    expectRows({{"fr_CA.UTF-8", "de_DE", "it_IT", "", "fr-CA", "CA"},
                {"", "de_DE", "it_IT", "", "de-DE", "DE"},
                {"", "", "it_IT", "", "it-IT", "IT"}});
}

TEST(LocaleNames, AreEnglishWithoutACountryInThePortableLocaleWhateverLanguageSays) {
    expectRows({{"", "", "", "", "en", ""},
                {"", "", "", "de", "en", ""},
                {"", "", "C", "de", "en", ""},
                {"", "", "C.UTF-8", "de:fr", "en", ""},
                {"POSIX", "", "de_DE", "fr", "en", ""},
                {"", "C.utf8", "de_DE", "", "en", ""}});
}

TEST(LocaleNames, PutTheItemsOfLanguageFirstAndKeepTheCountry) {
    expectRows({{"", "", "de_DE", "fr:de", "fr de de-DE", "DE"},
                {"", "", "de_AT.UTF-8", ":pt_BR:", "pt-BR de-AT", "AT"},
                {"", "", "de_DE", "sr@latin", "sr-Latn de-DE", "DE"},
                {"", "", "de_DE", "C", "en de-DE", "DE"}});
}

TEST(LocaleNames, CutTheCodesetAndTurnScriptModifiersIntoScripts) {
    expectRows({{"", "", "sr_RS.UTF-8@latin", "", "sr-Latn-RS", "RS"},
                {"", "", "sr_RS@cyrillic", "", "sr-Cyrl-RS", "RS"},
                {"", "", "de_DE.ISO-8859-1@euro", "", "de-DE", "DE"},
                {"", "", "ca_ES@valencia", "", "ca-ES", "ES"}});
}

TEST(LocaleNames, GiveChineseItsScript) {
    expectRows({{"", "", "zh_CN.UTF-8", "", "zh-Hans-CN", "CN"},
                {"", "", "zh_SG", "", "zh-Hans-SG", "SG"},
                {"", "", "zh_TW", "", "zh-Hant-TW", "TW"},
                {"", "", "zh_HK.UTF-8", "", "zh-Hant-HK", "HK"},
                {"", "", "zh_MO", "", "zh-Hant-MO", "MO"},
                {"", "", "zh", "", "zh-Hans", ""}});
}

TEST(LocaleNames, KeepAScriptThatIsThereAndTheCountryBehindIt) {
    expectRows({{"", "", "zh_Hant_TW.UTF-8", "", "zh-Hant-TW", "TW"},
                {"", "", "zh_Hant", "", "zh-Hant", ""},
                {"", "", "zh_Hans_HK", "", "zh-Hans-HK", "HK"},
                {"", "", "zh-hant-tw", "", "zh-Hant-tw", ""},
                {"", "", "sr_Latn_RS", "", "sr-Latn-RS", "RS"},
                {"", "", "sr_Latn_RS@cyrillic", "", "sr-Latn-RS", "RS"},
                {"", "", "en_US", "zh_Hant:en", "zh-Hant en en-US", "US"}});
}

TEST(LocaleNames, KeepOldCodesAndCheckNothingAgainstAList) {
    expectRows({{"", "", "iw_IL", "", "iw-IL", "IL"},
                {"", "", "no_NO", "", "no-NO", "NO"},
                {"", "", "xx_YY", "", "xx-YY", "YY"}});
}

TEST(LocaleNames, TakeOnlyTwoUpperCaseLettersForACountry) {
    expectRows({{"", "", "de", "", "de", ""},
                {"", "", "es_419", "", "es-419", ""},
                {"", "", "de_de", "", "de-de", ""},
                {"", "", "de_DEU", "", "de-DEU", ""}});
}

TEST(LocaleNames, AreNeverEmptyForBrokenSettings) {
    expectRows({{"", "", "_DE", "", "en", "DE"},
                {"", "", ".UTF-8", "", "en", ""},
                {"", "", "@latin", "", "en", ""},
                {"", "", "de_DE", "_:@:.", "de-DE", "DE"}});
}
