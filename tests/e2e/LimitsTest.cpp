#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

class FewDescriptors : public testing::TestWithParam<rlim_t> {};

TEST_P(FewDescriptors, EndWithStatusOneAndOneLine) {
    InstallerRun run;
    run.limit(RLIMIT_NOFILE, GetParam());
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 1);
    EXPECT_EQ(run.console().count(u'\n'), 1) << run.console().toStdString();
    EXPECT_TRUE(run.console().contains(u"too few files open at a time"_s)) << run.console().toStdString();
}

// With fewer, the system's loader has none for the first libraries.
INSTANTIATE_TEST_SUITE_P(Limits, FewDescriptors, testing::Range(rlim_t{6}, rlim_t{21}));

TEST(Limits, OfTwentyOneDescriptorsAreEnough) {
    InstallerRun run;
    run.limit(RLIMIT_NOFILE, 21);
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    EXPECT_EQ(run.openedAddresses(1).size(), 1);
}

class FewThreads : public testing::TestWithParam<rlim_t> {};

// Which thread cannot be had depends on which of them have ended already: either one of Qt's, which it would wait for
// for ever, or one of ours.
TEST_P(FewThreads, EndWithStatusOneOrShowTheErrorScreenThatCanBeEnded) {
    InstallerRun run;
    run.limitThreads(GetParam());
    run.start();
    const auto isOver = [&run] { return run.process() == 0; };
    const auto showsError = [&run] { return test::readFile(run.logPath()).contains("Show generic error screen."); };
    ASSERT_TRUE(test::waitFor([&] { return isOver() || (QFile::exists(run.logPath()) && showsError()); }))
        << run.console().toStdString();
    if (!isOver()) {
        run.askToEnd();
    }
    ASSERT_TRUE(run.waitForEnd());
    const bool told = run.exitStatus() == 1 && run.console().contains(u"QThread::start"_s);
    EXPECT_TRUE(told || showsError()) << run.exitStatus() << run.console().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Limits, FewThreads, testing::Range(rlim_t{1}, rlim_t{5}));

// AddressSanitizer reserves terabytes.
#ifndef __SANITIZE_ADDRESS__
class LittleMemory : public testing::TestWithParam<rlim_t> {};

TEST_P(LittleMemory, EndsWithStatusOneAndOneLine) {
    InstallerRun run;
    run.limit(RLIMIT_AS, GetParam() << 20);
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 1);
    EXPECT_EQ(run.console().count(u'\n'), 1) << run.console().toStdString();
    EXPECT_TRUE(run.console().contains(u"too little memory"_s)) << run.console().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Limits, LittleMemory, testing::Values(120, 160, 200, 240, 280, 320));
#endif
