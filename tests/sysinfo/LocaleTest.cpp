#include "sysinfo/LocaleChoice.h"
#include "sysinfo/QNSystemInfo.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Language, IsTheFirstSegmentOfTheFirstPreferredLanguage) {
    const std::pair<QStringList, QString> table[] = {
        {{u"en-US"_s, u"de-DE"_s}, u"en"_s},
        {{u"pt-BR"_s}, u"pt"_s},
        {{u"en"_s}, u"en"_s},
        {{u"sr-Latn-RS"_s}, u"sr"_s},
        {{u"zh-Hans-CN"_s}, u"zh-Hans-CN"_s}, // Chinese keeps its script and region
        {{u"zh-Hant-TW"_s}, u"zh-Hant-TW"_s},
        {{u"xzh-CN"_s}, u"xzh-CN"_s}, // "zh-" anywhere
        {{u"zh"_s}, u"zh"_s},
        {{u"-x"_s}, u"-x"_s}, // nothing stands before the dash
        {{u""_s, u"de"_s}, u"en"_s},
        {{}, u"en"_s},
    };
    for (const auto& [preferred, expected] : table) {
        EXPECT_EQ(LocaleChoice::languageOf(preferred), expected) << preferred.join(u',').toStdString();
    }
}

TEST(Locale, JoinsLanguageAndCountry) {
    EXPECT_EQ(LocaleChoice::localeOf(u"en"_s, u"GB"_s), u"en-GB"_s);
    EXPECT_EQ(LocaleChoice::localeOf(u"zh-Hans-CN"_s, u"CN"_s), u"zh-Hans-CN-CN"_s); // doubled on purpose
    EXPECT_EQ(LocaleChoice::localeOf(u""_s, u"GB"_s), u"en-US"_s);
    EXPECT_EQ(LocaleChoice::localeOf(u"en"_s, u""_s), u"en-US"_s);
}

TEST(Locale, FollowsTheUsersSettingsAtEachCall) {
    struct {
        const char* lang;
        QString language;
        QString country;
        QString locale;
    } const table[] = {
        {"en_GB.UTF-8", u"en"_s, u"GB"_s, u"en-GB"_s},
        {"de_AT.UTF-8", u"de"_s, u"AT"_s, u"de-AT"_s},
        {"zh_TW.UTF-8", u"zh-Hant-TW"_s, u"TW"_s, u"zh-Hant-TW-TW"_s},
        {"zh_CN.UTF-8", u"zh-Hans-CN"_s, u"CN"_s, u"zh-Hans-CN-CN"_s},
        {"sr_RS.UTF-8@latin", u"sr"_s, u"RS"_s, u"sr-RS"_s},
        {"de", u"de"_s, u"US"_s, u"de-US"_s}, // no territory
        {"C", u"en"_s, u"US"_s, u"en-US"_s},
        {"", u"en"_s, u"US"_s, u"en-US"_s},
    };
    for (const auto& [lang, language, country, locale] : table) {
        test::setEnvironment("LANG", lang);
        EXPECT_EQ(QNSystemInfo::getLanguage(), language) << lang;
        EXPECT_EQ(QNSystemInfo::getCountry(), country) << lang;
        EXPECT_EQ(QNSystemInfo::getLocale(), locale) << lang;
    }
}

TEST(Locale, TakesLanguageAndCountryFromDifferentSettings) {
    test::setEnvironment("LANG", "de_DE.UTF-8");
    test::setEnvironment("LANGUAGE", "fr:de");
    EXPECT_EQ(QNSystemInfo::getLocale(), u"fr-DE"_s);
}

TEST(ConfigLocale, IsEverySupportedLocaleItself) {
    for (const auto& locale :
         {u"cs-CZ"_s, u"da-DK"_s, u"de-DE"_s, u"el-GR"_s, u"en-US"_s, u"es-ES"_s, u"fi-FI"_s, u"fr-FR"_s,
          u"hu-HU"_s, u"it-IT"_s, u"ja-JP"_s, u"ko-KR"_s, u"nb-NO"_s, u"nl-NL"_s, u"pl-PL"_s, u"pt-BR"_s,
          u"ru-RU"_s, u"sk-SK"_s, u"sv-SE"_s, u"tr-TR"_s, u"zh-CN"_s, u"zh-TW"_s, u"he-IL"_s}) {
        EXPECT_EQ(QNSystemInfo::configLocale(locale), locale);
    }
}

TEST(ConfigLocale, IsTheFirstEntryThatHoldsTheFirstSegment) {
    const std::pair<QString, QString> table[] = {
        {u"zh-Hans-CN"_s, u"zh-CN"_s}, {u"pt-PT"_s, u"pt-BR"_s}, {u"en-GB"_s, u"en-US"_s}, {u"nb"_s, u"nb-NO"_s},
        {u"no"_s, u"en-US"_s},         {u"DE"_s, u"de-DE"_s},    {u"DE-de"_s, u"de-DE"_s}, {u"iw-IL"_s, u"en-US"_s},
        {u"zh"_s, u"zh-CN"_s},         {u"CZ"_s, u"cs-CZ"_s},    {u"S"_s, u"en-US"_s},     {u"de-de"_s, u"de-DE"_s},
        {u"EN-us"_s, u"en-US"_s},      {u"-"_s, u"cs-CZ"_s},     {u"x"_s, u"en-US"_s},     {u"de-DE-x"_s, u"de-DE"_s},
        {u"s-C"_s, u"cs-CZ"_s},
    };
    for (const auto& [locale, expected] : table) {
        EXPECT_EQ(QNSystemInfo::configLocale(locale), expected) << locale.toStdString();
    }
}

TEST(ConfigLocale, IsTaiwansForEveryTraditionalChinese) {
    EXPECT_EQ(QNSystemInfo::configLocale(u"zh-Hant-TW"_s), u"zh-TW"_s);
    EXPECT_EQ(QNSystemInfo::configLocale(u"zh-Hant-HK"_s), u"zh-TW"_s);
    EXPECT_EQ(QNSystemInfo::configLocale(u"x-zh-Hant"_s), u"zh-TW"_s);
    EXPECT_EQ(QNSystemInfo::configLocale(u"zh-hant-TW"_s), u"zh-CN"_s); // the case counts
}

TEST(ConfigLocale, IsEnglishForEmptyText) {
    EXPECT_EQ(QNSystemInfo::configLocale(u""_s), u"en-US"_s);
}

TEST(RightToLeft, HoldsForSixLanguagesWhateverTheirRegion) {
    for (const auto& language :
         {u"he"_s, u"he-IL"_s, u"iw"_s, u"ar-EG"_s, u"fa_IR"_s, u"ur"_s, u"yi"_s, u"ar-Arab-SA"_s}) {
        EXPECT_TRUE(LocaleChoice::isRightToLeft(language)) << language.toStdString();
    }
    for (const auto& language : {u"en"_s, u"de-AR"_s, u"arn"_s, u""_s, u"-he"_s, u"zh-Hant-TW"_s, u"Base"_s}) {
        EXPECT_FALSE(LocaleChoice::isRightToLeft(language)) << language.toStdString();
    }
}

TEST(RightToLeft, IsDecidedByTheLanguageThatIsShown) {
    QDir(test::bundle()).mkpath(u"Contents/Resources"_s);
    QDir(test::ownResources()).mkpath(u"he.lproj"_s);
    test::setEnvironment("LANG", "he_IL.UTF-8");
    EXPECT_TRUE(QNSystemInfo::isRTL());
}

TEST(RightToLeft, DoesNotHoldForAUsersLanguageThatTheBundleLacks) {
    QDir(test::bundle()).mkpath(u"Contents/Resources"_s);
    test::setEnvironment("LANG", "ar_EG.UTF-8");
    EXPECT_FALSE(QNSystemInfo::isRTL());
}
