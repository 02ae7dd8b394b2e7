#include "platform/UserLocale.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

TEST(UserLocale, IsReadAnewAtEachCall) {
    test::setEnvironment("LANG", "de_AT.UTF-8");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(QStringLiteral("de-AT")));
    EXPECT_EQ(platform::localeCountryCode(), QStringLiteral("AT"));
    test::setEnvironment("LC_MESSAGES", "fr_FR");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(QStringLiteral("fr-FR")));
    test::setEnvironment("LC_ALL", "C.UTF-8");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(QStringLiteral("en")));
    EXPECT_EQ(platform::localeCountryCode(), std::nullopt);
}

TEST(UserLocale, TakesTheLanguageFromTheListAndTheCountryFromTheLocale) {
    test::setEnvironment("LANG", "de_DE");
    test::setEnvironment("LANGUAGE", "fr:de");
    EXPECT_EQ(platform::preferredLanguages().constFirst(), QStringLiteral("fr"));
    EXPECT_EQ(platform::localeCountryCode(), QStringLiteral("DE"));
}

TEST(UserLocale, IsEnglishWhenNothingIsSet) {
    test::unsetEnvironment("LANG");
    test::setEnvironment("LANGUAGE", "de");
    EXPECT_EQ(platform::preferredLanguages(), QStringList(QStringLiteral("en")));
    EXPECT_EQ(platform::localeCountryCode(), std::nullopt);
}
