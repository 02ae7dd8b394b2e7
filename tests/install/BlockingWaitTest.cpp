#include "install/BlockingWait.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

TEST(BlockingWait, ReturnsNoSoonerThanItIsTold) {
    const auto begin = std::chrono::steady_clock::now();
    blockingWait(120ms);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 120ms);
}
