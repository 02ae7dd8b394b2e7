#include "platform/base/MainQueue.h"
#include "platform/base/UncaughtException.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

TEST(MainQueue, RunsWorkOnTheMainThreadInTheOrderOfHandingOver) {
    std::vector<int> order;
    std::thread other([&] {
        for (int index = 0; index < 100; ++index) {
            MainQueue::async([&order, index] {
                EXPECT_TRUE(MainQueue::isMainThread());
                order.push_back(index);
            });
        }
        EXPECT_FALSE(MainQueue::isMainThread());
    });
    other.join();
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(test::waitFor([&] { return order.size() == 100; }));
    for (int index = 0; index < 100; ++index) {
        EXPECT_EQ(order[static_cast<std::size_t>(index)], index);
    }
}

TEST(MainQueue, NeverCallsDirectlyFromTheMainThread) {
    bool ran = false;
    MainQueue::async([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(test::waitFor([&] { return ran; }));
}

TEST(MainQueue, DoesNotReEnterRunningWorkWhenALoopTurnsInsideIt) {
    std::vector<int> order;
    MainQueue::async([&] {
        MainQueue::async([&] { order.push_back(2); });
        QCoreApplication::processEvents();
        order.push_back(1);
    });
    ASSERT_TRUE(test::waitFor([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(MainQueue, HandsAnExceptionToTheUncaughtHandlerAndGoesOn) {
    static std::atomic<int> handled = 0;
    platform::setUncaughtExceptionHandler([](const PlatformException&) { ++handled; });
    bool laterRan = false;
    MainQueue::async([] { throw PlatformException::range(u"r"_s); });
    MainQueue::async([&] { laterRan = true; });
    EXPECT_TRUE(test::waitFor([&] { return laterRan; }));
    EXPECT_EQ(handled, 1);
}
