#include "config/ConfigRequest.h"
#include "config/QNConfig.h"
#include "tests/support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(ConfigRequest, TakesAnArgumentWithSchemeAndHostAsTheAddress) {
    for (const auto& argument : {u"HTTP://Host/P"_s, u"http://[::1]:80/c"_s, u"http://:80/"_s, u"other://x"_s,
                                 u"https://h/a?b=c&amp;d#e"_s, u"http://h/%41"_s}) {
        EXPECT_EQ(ConfigRequest::overridingAddress({u"/program"_s, argument, u"http://second/"_s}), argument);
    }
}

TEST(ConfigRequest, IgnoresEveryOtherArgument) {
    for (const auto& argument :
         {u"http:/x"_s, u"http:///x"_s, u"http://"_s, u"file:///x"_s, u"mailto:a@b"_s, u"localhost:8080"_s, u"//h/x"_s,
          u"/p"_s, u"word"_s, u"-psn_0_1"_s, u"--open-url"_s, u""_s, u"http://h/a b"_s, u"http://h/ü"_s,
          u"http://h/%zz"_s, u"http://h/#a#b"_s, u"http://h/`"_s}) {
        EXPECT_EQ(ConfigRequest::overridingAddress({u"/program"_s, argument, u"http://second/"_s}), std::nullopt)
            << argument.toStdString();
    }
}

TEST(ConfigRequest, HasNoOverrideWithoutAnArgument) {
    EXPECT_EQ(ConfigRequest::overridingAddress({}), std::nullopt);
    EXPECT_EQ(ConfigRequest::overridingAddress({u"http://h/program"_s}), std::nullopt);
}

TEST(ConfigRequest, JudgesTheTextOfTheDownloadAddressByItsExtension) {
    const std::pair<QString, bool> table[] = {
        {u"https://h/a.dmg"_s, true},       {u"https://h/a.DMG"_s, true},        {u"https://h/a.dMg"_s, true},
        {u"https://h/get?f=a.dmg"_s, true}, {u"https://h/x/a.dmg/"_s, true},     {u"a.dmg"_s, true},
        {u"https://h/a.pkg"_s, false},      {u"https://h/a"_s, false},           {u"https://h/a.dmg?x=1"_s, false},
        {u"https://h/a.dmg#f"_s, false},    {u"https://h/.dmg"_s, false},        {u"https://h/a.dmg "_s, false},
        {u"https://h/a.dmg.zip"_s, false},  {u"https://example.dmg/x"_s, false}, {u""_s, false},
    };
    for (const auto& [address, expected] : table) {
        QNConfig config{QVariantMap()};
        config.setDefaultAction(u"install"_s);
        config.setLatestMacURL(address);
        EXPECT_EQ(ConfigRequest::hasUsableFormat(config), expected) << address.toStdString();
        config.setDefaultAction(u"openLink"_s);
        EXPECT_TRUE(ConfigRequest::hasUsableFormat(config)) << address.toStdString();
    }
}

TEST(ConfigRequest, LetsAMissingDownloadAddressPass) {
    QNConfig config{QVariantMap()};
    config.setDefaultAction(u"install"_s);
    EXPECT_TRUE(ConfigRequest::hasUsableFormat(config));
}

TEST(ConfigRequest, ReadsObjectsAndNothingElse) {
    EXPECT_EQ(ConfigRequest::read("{\"analyticsUrl\":\"a\"}").model->analyticsURL(), u"a"_s);
    for (const char* document : {"[1]", "5", "\"text\"", "true", "null"}) {
        const auto [model, failure] = ConfigRequest::read(document);
        EXPECT_EQ(model, nullptr) << document;
        EXPECT_EQ(failure, u"The document is no JSON object."_s);
    }
    const auto [model, failure] = ConfigRequest::read("<html>");
    EXPECT_EQ(model, nullptr);
    EXPECT_EQ(failure, u"The document is no valid JSON at byte 1."_s);
}
