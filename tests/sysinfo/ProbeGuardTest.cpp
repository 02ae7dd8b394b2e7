#include "platform/base/PlatformException.h"
#include "sysinfo/ProbeGuard.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <stdexcept>

using namespace Qt::StringLiterals;
using testing::IsEmpty;

namespace {

[[noreturn]] void raiseNoAnswer() {
    throw PlatformException(u"NSGenericException"_s, u"no answer"_s);
}

} // namespace

TEST(ProbeGuard, WritesAFailureToTheConsoleAndAsAnErrorEntryWithTheSameText) {
    test::putSystemTool(u"/sbin/ifconfig"_s, "#!/bin/sh\nexit 0\n");
    for (const char* text : {"OS Version error: %@", "NSScreen Error: %@", "CPU error: %@", "MAC Address error: %@"}) {
        const QString expected = QString::fromLatin1(text).replace(u"%@"_s, u"no answer"_s);
        const QStringList console = test::consoleLinesOf(
            [&] { guardingProbe(text, "+[QNSystemInfo f]", raiseNoAnswer, "/a/QNSystemInfo.cpp", 26); });
        EXPECT_TRUE(console.contains(expected)) << text;
        EXPECT_EQ(test::eventLogMessages().last(), expected);
    }
    EXPECT_TRUE(test::eventLog().last().contains(u"\"trace\": \"ERROR\""_s));
    EXPECT_TRUE(test::eventLog().last().contains(
        u"\"file\": \"QNSystemInfo.cpp\", \"fn\": \"+[QNSystemInfo f]\", \"line\": \"26\" }"_s))
        << test::eventLog().last().toStdString();
}

TEST(ProbeGuard, SaysNothingAboutASuccess) {
    bool ran = false;
    EXPECT_THAT(test::consoleLinesOf([&] { guardingProbe("CPU error: %@", "f", [&] { ran = true; }); }), IsEmpty());
    EXPECT_TRUE(ran);
    EXPECT_THAT(test::eventLog(), IsEmpty());
}

TEST(ProbeGuard, LetsOtherExceptionsThrough) {
    EXPECT_THROW(guardingProbe("CPU error: %@", "f", [] { throw std::runtime_error("ours"); }), std::runtime_error);
    EXPECT_THAT(test::eventLog(), IsEmpty());
}
