#include "platform/base/UncaughtException.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

int handled = 0;
QString lastReason;

void recordingHandler(const PlatformException& exception) {
    ++handled;
    lastReason = exception.reason();
}

} // namespace

TEST(UncaughtException, ReachesTheHandlerOnTheRaisingThread) {
    platform::setUncaughtExceptionHandler(recordingHandler);
    std::thread other(
        [] { platform::reportingUncaughtExceptions([] { throw PlatformException::range(u"too far"_s); }); });
    other.join();
    EXPECT_EQ(handled, 1);
    EXPECT_EQ(lastReason, u"too far"_s);
}

TEST(UncaughtException, GoesOnToTheCallerWithoutAHandler) {
    EXPECT_THROW(platform::reportingUncaughtExceptions([] { throw PlatformException::range(u"r"_s); }),
                 PlatformException);
}

TEST(UncaughtException, OfAnotherTypeArrivesAsOneOfOurs) {
    static QStringList seen;
    platform::setUncaughtExceptionHandler(
        [](const PlatformException& exception) { seen += exception.name() + u": "_s + exception.reason(); });
    platform::reportingUncaughtExceptions([] { throw std::runtime_error("no memory"); });
    platform::reportingUncaughtExceptions([] { throw 7; });
    EXPECT_EQ(seen, (QStringList{u"std::exception: no memory"_s, u"unknown exception: "_s}));
}

// An integer stands for an exception of the system's own kind.
TEST(UncaughtException, OfTheSystemsOwnKindArrivesWithItsReason) {
    platform::setExceptionTranslation([](const std::function<void()>& body) {
        try {
            body();
        } catch (int number) {
            throw PlatformException::range(u"the system's "_s + QString::number(number));
        }
    });
    platform::setUncaughtExceptionHandler(recordingHandler);
    platform::reportingUncaughtExceptions([] { throw 7; });
    EXPECT_EQ(handled, 1);
    EXPECT_EQ(lastReason, u"the system's 7"_s);
}

TEST(UncaughtException, InsideTheHandlerDoesNotCallItAgain) {
    platform::setUncaughtExceptionHandler([](const PlatformException& exception) {
        ++handled;
        platform::reportingUncaughtExceptions([&] { throw PlatformException(exception); });
    });
    EXPECT_THROW(platform::reportingUncaughtExceptions([] { throw PlatformException::range(u"r"_s); }),
                 PlatformException);
    EXPECT_EQ(handled, 1);
}

TEST(UncaughtExceptionDeathTest, ThatNobodyWrappedStillReachesTheHandlerBeforeTheProcessAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            platform::setUncaughtExceptionHandler(
                [](const PlatformException& exception) { std::fprintf(stderr, "seen: %s\n", exception.what()); });
            platform::installTerminateNet();
            std::thread([] { throw PlatformException::range(u"loose"_s); }).join();
        },
        "seen: loose");
}

TEST(UncaughtExceptionDeathTest, OfALibraryThatGaveUpReachesTheHandlerToo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            platform::setUncaughtExceptionHandler([](const PlatformException& exception) {
                std::fprintf(stderr, "seen: %s\n", exception.name().toUtf8().constData());
            });
            platform::installTerminateNet();
            std::terminate();
        },
        "seen: std::terminate");
}
