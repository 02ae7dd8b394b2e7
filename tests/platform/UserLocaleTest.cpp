#include "platform/UserLocale.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

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
