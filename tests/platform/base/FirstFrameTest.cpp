#include "platform/base/FirstFrame.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

using namespace std::chrono_literals;

namespace {

std::future<bool> threadThatWaits() {
    return std::async(std::launch::async, platform::waitForFirstFrame);
}

} // namespace

TEST(FirstFrame, IsNotWaitedForWhereNoneIsExpected) {
    EXPECT_TRUE(threadThatWaits().get());
}

TEST(FirstFrame, IsWaitedForUntilItIsShown) {
    platform::expectFirstFrame();
    std::future<bool> waiting = threadThatWaits();
    EXPECT_EQ(waiting.wait_for(20ms), std::future_status::timeout);
    platform::firstFrameShown();
    EXPECT_TRUE(waiting.get());
    EXPECT_TRUE(threadThatWaits().get());
}

TEST(FirstFrame, HoldsNobodyUpForEverWhenItNeverComes) {
    platform::expectFirstFrame();
    EXPECT_FALSE(threadThatWaits().get());
}
