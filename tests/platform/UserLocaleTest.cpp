#include "platform/UserLocale.h"
#include "platform/linux/OwnEnvironment.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <langinfo.h>

#include <clocale>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

std::vector<std::string> variablesForPrograms() {
    std::vector<std::string> texts;
    for (const char* variable : platform::environmentForPrograms()) {
        texts.emplace_back(variable ? variable : "");
    }
    return texts;
}

// What Qt does first when an application object is made.
bool qtStartsInUtf8() {
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_ALL, "");
    return std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0;
}

} // namespace

TEST(UserLocale, IsReadAnewAtEachCall) {
    test::setEnvironment("LANG", "de_AT.UTF-8");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(u"de-AT"_s));
    EXPECT_EQ(platform::localeCountryCode(), u"AT"_s);
    test::setEnvironment("LC_MESSAGES", "fr_FR");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(u"fr-FR"_s));
    test::setEnvironment("LC_ALL", "C.UTF-8");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(u"en"_s));
    EXPECT_EQ(platform::localeCountryCode(), std::nullopt);
}

TEST(UserLocale, TakesTheLanguageFromTheListAndTheCountryFromTheLocale) {
    test::setEnvironment("LANG", "de_DE");
    test::setEnvironment("LANGUAGE", "fr:de");
    EXPECT_EQ(platform::preferredLanguages().constFirst(), u"fr"_s);
    EXPECT_EQ(platform::localeCountryCode(), u"DE"_s);
}

TEST(UserLocale, IsEnglishWhenNothingIsSet) {
    test::unsetEnvironment("LANG");
    test::setEnvironment("LANGUAGE", "de");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(u"en"_s));
    EXPECT_EQ(platform::localeCountryCode(), std::nullopt);
}

class LocaleWithoutUtf8 : public testing::TestWithParam<const char*> {};

TEST_P(LocaleWithoutUtf8, IsHiddenFromQtAloneAndStaysTheUsers) {
    test::setEnvironment("LC_ALL", GetParam());
    test::setEnvironment("LC_MESSAGES", "de_AT");
    ASSERT_FALSE(qtStartsInUtf8());
    const QStringList languages = platform::preferredLanguages();
    platform::keepQtInUtf8();
    EXPECT_TRUE(qtStartsInUtf8());
    EXPECT_EQ(platform::preferredLanguages(), languages);
    EXPECT_THAT(variablesForPrograms(), testing::Contains(std::string("LC_ALL=") + GetParam()));
    EXPECT_THAT(variablesForPrograms(), testing::Not(testing::Contains(testing::StartsWith("FC_LANG="))));
}

INSTANTIATE_TEST_SUITE_P(UserLocale, LocaleWithoutUtf8, testing::Values("C", "POSIX", "xx_XX.UTF-8", "ja_JP.EUC"),
                         [](const auto& instance) { return "Nr" + std::to_string(instance.index + 1); });

TEST(UserLocale, KeepsTheLanguageForFontsOfALocaleThatIsNotInstalled) {
    test::setEnvironment("LC_ALL", "ja_XX.UTF-8");
    platform::keepQtInUtf8();
    EXPECT_EQ(qgetenv("FC_LANG"), "ja_XX.UTF-8");
}

TEST(UserLocale, IsLeftAloneInUtf8WhereItIsInstalled) {
    test::setEnvironment("LC_ALL", "C.UTF-8");
    const auto before = variablesForPrograms();
    platform::keepQtInUtf8();
    EXPECT_EQ(variablesForPrograms(), before);
    EXPECT_EQ(qgetenv("LC_ALL"), "C.UTF-8");
    EXPECT_FALSE(qEnvironmentVariableIsSet("FC_LANG"));
}
