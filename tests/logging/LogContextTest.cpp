#include "logging/LogContext.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(LogContext, HoldsTheSixTextsOfTheCallingPlace) {
    test::setEnvironment("LANG", "de_AT.UTF-8");
    const LogContext context = logContext("+[QNSystemInfo getCPUName]");
    const LogContext expected{
        {u"language"_s, u"de"_s},
        {u"country"_s, u"AT"_s},
        {u"locale"_s, u"de-AT"_s},
        {u"file"_s, u"LogContextTest.cpp"_s},
        {u"function"_s, u"+[QNSystemInfo getCPUName]"_s},
        {u"line"_s, u"11"_s},
    };
    EXPECT_EQ(context, expected);
}

TEST(LogContext, KeepsOnlyTheNameOfTheFile) {
    EXPECT_EQ(logContext("f", "/a b/c/Main.cpp", 7)[u"file"_s], u"Main.cpp"_s);
    EXPECT_EQ(logContext("f", "Main.cpp", 7)[u"file"_s], u"Main.cpp"_s);
    EXPECT_EQ(logContext("f", "", 7)[u"file"_s], u""_s);
    EXPECT_EQ(logContext("f", "", 7)[u"line"_s], u"7"_s);
}

TEST(LogContext, FollowsTheLanguageSettingsOfTheMoment) {
    test::setEnvironment("LANG", "fr_FR.UTF-8");
    EXPECT_EQ(logContext("f")[u"language"_s], u"fr"_s);
    test::setEnvironment("LANG", "C");
    EXPECT_EQ(logContext("f")[u"locale"_s], u"en-US"_s);
}
