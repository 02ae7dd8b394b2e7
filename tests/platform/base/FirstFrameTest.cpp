#include "platform/base/FirstFrame.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

using namespace std::chrono_literals;

namespace {

// Whether a thread that waits for the frame still does so after `time`.
bool stillWaits(const std::future<void>& waiting, std::chrono::milliseconds time) {
    return waiting.wait_for(time) == std::future_status::timeout;
}

} // namespace

TEST(FirstFrame, IsNotWaitedForWhereNoneIsExpected) {
    const std::future<void> waiting = std::async(std::launch::async, platform::waitForFirstFrame);
    EXPECT_FALSE(stillWaits(waiting, 100ms));
}

TEST(FirstFrame, IsWaitedForUntilItIsShown) {
    platform::expectFirstFrame();
    const std::future<void> waiting = std::async(std::launch::async, platform::waitForFirstFrame);
    EXPECT_TRUE(stillWaits(waiting, 20ms));
    platform::firstFrameShown();
    EXPECT_FALSE(stillWaits(waiting, 100ms));
    const std::future<void> later = std::async(std::launch::async, platform::waitForFirstFrame);
    EXPECT_FALSE(stillWaits(later, 100ms));
}

TEST(FirstFrame, HoldsNobodyUpForLongWhenItNeverComes) {
    platform::expectFirstFrame();
    const std::future<void> waiting = std::async(std::launch::async, platform::waitForFirstFrame);
    EXPECT_TRUE(stillWaits(waiting, 100ms));
    EXPECT_FALSE(stillWaits(waiting, 10s));
    platform::firstFrameShown();
}
