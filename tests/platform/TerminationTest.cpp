#include "platform/EndSignals.h"
#include "platform/Termination.h"
#include "platform/base/MainQueue.h"
#include "platform/base/UncaughtException.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QTimer>

#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;

// Each statement runs in a child process of its own, which really ends; what it writes to standard error is compared.
class Termination : public testing::Test {
protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};
using TerminationOnSignal = Termination;

namespace {

void say(const char* text) {
    std::fputs(text, stderr);
    std::fputs("\n", stderr);
}

void sayWillTerminate() {
    say(MainQueue::isMainThread() ? "will terminate" : "on a wrong thread");
}

void turnForEver() {
    QCoreApplication::exec();
    say("the loop ended");
}

// Ends the child with another status if nothing else ended it.
void failAfterAWhile() {
    QTimer::singleShot(std::chrono::seconds(30), [] { std::_Exit(99); });
}

} // namespace

TEST_F(Termination, RunsTheHandlerAndEndsWithStatusZero) {
    EXPECT_EXIT(
        {
            platform::setWillTerminateHandler(sayWillTerminate);
            std::atexit([] { say("torn down"); });
            platform::terminate();
        },
        testing::ExitedWithCode(0), "^will terminate\n$");
}

TEST_F(Termination, FlushesStandardOutput) {
    const QString file = test::folder() + u"/output"_s;
    const std::string path = file.toStdString();
    EXPECT_EXIT(
        {
            ASSERT_NE(std::freopen(path.c_str(), "w", stdout), nullptr);
            std::fputs("kept", stdout);
            platform::terminate();
        },
        testing::ExitedWithCode(0), "");
    EXPECT_TRUE(test::readFile(file).endsWith("kept"));
}

TEST_F(Termination, EndsAtOnceWhenTheHandlerAsksAgain) {
    EXPECT_EXIT(
        {
            platform::setWillTerminateHandler([] {
                say("once");
                platform::terminate();
            });
            platform::terminate();
        },
        testing::ExitedWithCode(0), "^once\n$");
}

TEST_F(Termination, EndsAlsoWhenTheHandlerRaises) {
    EXPECT_EXIT(
        {
            platform::setUncaughtExceptionHandler([](const PlatformException& exception) {
                say(exception.what());
                platform::terminate();
            });
            platform::setWillTerminateHandler([] { throw PlatformException::range(u"raised"_s); });
            platform::terminate();
        },
        testing::ExitedWithCode(0), "^raised\n$");
}

TEST_F(Termination, AskedForOnAnotherThreadRunsOnTheMainThreadAndParksTheCaller) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler(sayWillTerminate);
            std::thread([] { platform::terminate(); }).detach();
            turnForEver();
        },
        testing::ExitedWithCode(0), "^will terminate\n$");
}

TEST_F(Termination, ParksAnotherThreadThatAsksWhileTheHandlerRuns) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler([] {
                say("begins");
                std::atomic<bool> asks = false;
                std::thread other([&asks] {
                    asks = true;
                    platform::terminate();
                });
                other.detach();
                while (!asks) {
                    std::this_thread::yield();
                }
                say("ends");
            });
            platform::terminate();
        },
        testing::ExitedWithCode(0), "^begins\nends\n$");
}

TEST_F(Termination, RunsTheHandlerOnceForManyThreadsThatAskAtOnce) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler(sayWillTerminate);
            for (int count = 0; count < 16; ++count) {
                std::thread([] { platform::terminate(); }).detach();
            }
            turnForEver();
        },
        testing::ExitedWithCode(0), "^will terminate\n$");
}

TEST_F(Termination, EndsByTheFunctionThatATestPutsInPlace) {
    EXPECT_EXIT(
        {
            platform::setWillTerminateHandler(sayWillTerminate);
            platform::setTerminateFunction([] { std::_Exit(7); });
            platform::terminate();
        },
        testing::ExitedWithCode(7), "^will terminate\n$");
}

TEST_F(TerminationOnSignal, IsTheSameRequestForEachOfTheThreeSignals) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        EXPECT_EXIT(
            {
                failAfterAWhile();
                platform::setWillTerminateHandler(sayWillTerminate);
                platform::terminateOnSignals();
                ::kill(::getpid(), signal);
                say("still running");
                turnForEver();
            },
            testing::ExitedWithCode(0), "^still running\nwill terminate\n$");
    }
}

// Libraries that know nothing of our handlers would take an interrupted call for a failure.
TEST_F(TerminationOnSignal, InterruptsNoSystemCall) {
    EXPECT_EXIT(
        {
            platform::terminateOnSignals();
            for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
                struct sigaction action {};
                ::sigaction(signal, nullptr, &action);
                if ((action.sa_flags & SA_RESTART) == 0) {
                    say("interrupts");
                }
            }
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "^$");
}

TEST_F(TerminationOnSignal, WaitsUntilABusyMainThreadTurnsItsLoopAgain) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler(sayWillTerminate);
            platform::terminateOnSignals();
            MainQueue::async([] {
                ::kill(::getpid(), SIGTERM);
                say("work is done");
            });
            turnForEver();
        },
        testing::ExitedWithCode(0), "^work is done\nwill terminate\n$");
}

TEST_F(TerminationOnSignal, ReachesTheMainThreadAlsoWhenAnotherThreadGetsTheSignal) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler(sayWillTerminate);
            platform::terminateOnSignals();
            std::thread([] { ::pthread_kill(::pthread_self(), SIGTERM); }).detach();
            turnForEver();
        },
        testing::ExitedWithCode(0), "^will terminate\n$");
}

TEST_F(TerminationOnSignal, EndsTheProcessAtOnceAtASecondSignal) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler([] {
                say("waits for an answer");
                ::kill(::getpid(), SIGINT);
                for (;;) {
                    ::pause();
                }
            });
            platform::terminateOnSignals();
            ::kill(::getpid(), SIGTERM);
            turnForEver();
        },
        testing::KilledBySignal(SIGINT), "^waits for an answer\n$");
}

TEST_F(TerminationOnSignal, EndsTheProcessWhenTheMainThreadDoesNotTakeIt) {
    EXPECT_EXIT(
        {
            platform::setWillTerminateHandler(sayWillTerminate);
            platform::terminateOnSignals(std::chrono::milliseconds(200));
            ::kill(::getpid(), SIGTERM);
            for (;;) {
                ::pause(); // as while a tool runs
            }
        },
        testing::KilledBySignal(SIGTERM), "^$");
}

TEST_F(TerminationOnSignal, LetsTheMainThreadTakeAnyTimeOnceItHasBegun) {
    EXPECT_EXIT(
        {
            failAfterAWhile();
            platform::setWillTerminateHandler([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(500)); // as for a slow answer
                say("answered");
            });
            platform::terminateOnSignals(std::chrono::milliseconds(100));
            ::kill(::getpid(), SIGTERM);
            turnForEver();
        },
        testing::ExitedWithCode(0), "^answered\n$");
}

TEST_F(TerminationOnSignal, LeavesAnIgnoredHangUpIgnored) {
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_IGN);
            platform::setWillTerminateHandler(sayWillTerminate);
            platform::terminateOnSignals();
            ::kill(::getpid(), SIGHUP);
            QTimer::singleShot(std::chrono::milliseconds(300), [] {
                say("still running");
                std::_Exit(3);
            });
            turnForEver();
        },
        testing::ExitedWithCode(3), "^still running\n$");
}
