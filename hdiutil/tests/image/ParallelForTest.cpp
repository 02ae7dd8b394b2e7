#include "hdiutil/create/OrderedWork.h"
#include "hdiutil/image/ParallelFor.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

namespace hdi::test {

TEST(ParallelFor, DoesEachPieceOnce) {
    std::vector<std::atomic<int>> done(1000);
    std::size_t last = 0;
    parallelFor(
        done.size(), 4, [&](std::size_t i) { ++done[i]; }, [&](std::size_t count) { last = count; });
    EXPECT_TRUE(std::all_of(done.begin(), done.end(), [](const auto& count) { return count == 1; }));
    EXPECT_EQ(last, 1000U);
}

// Two pieces on two threads; the one that is not the caller's ends last.
TEST(ParallelFor, TellsOfTheEndWhoeverReachesIt) {
    const std::thread::id caller = std::this_thread::get_id();
    std::barrier<> bothBegun(2);
    std::atomic<std::size_t> told = 0;
    parallelFor(
        2, 2,
        [&](std::size_t) {
            bothBegun.arrive_and_wait();
            if (std::this_thread::get_id() != caller) {
                told.wait(0);
            }
        },
        [&](std::size_t count) {
            told = count;
            told.notify_all();
        });
    EXPECT_EQ(told, 2U);
}

TEST(ParallelFor, StopsAndThrowsAfterAnError) {
    std::atomic<std::size_t> done = 0;
    const auto action = [&](std::size_t i) {
        if (i == 10) {
            throw ImageError(ImageError::Kind::kDamaged, "bad piece");
        }
        ++done;
    };
    EXPECT_EQ(errorOf([&] { parallelFor(1000000, 2, action); }), ImageError::Kind::kDamaged);
    EXPECT_LT(done, 1000000U);
}

TEST(ParallelFor, DoesNothingForNothing) {
    EXPECT_EQ(errorOf([] {
                  parallelFor(
                      0, 4, [](std::size_t) { FAIL(); }, [](std::size_t) { FAIL(); });
              }),
              std::nullopt);
}

TEST(OrderedWork, HandsResultsOverInOrder) {
    OrderedWork<std::size_t> work(500, 3, [](std::size_t i) { return i * i; });
    for (std::size_t i = 0; i < 500; ++i) {
        ASSERT_EQ(work.take(), i * i);
    }
}

TEST(OrderedWork, HandsAnErrorOver) {
    OrderedWork<int> work(
        500, 3, [](std::size_t i) { return i == 100 ? throw ImageError(ImageError::Kind::kIo, "bad piece") : 1; });
    const auto takeAll = [&work] {
        for (int i = 0; i < 500; ++i) {
            work.take();
        }
    };
    EXPECT_EQ(errorOf(takeAll), ImageError::Kind::kIo);
}

TEST(OrderedWork, MayBeLeftBeforeItsEnd) {
    OrderedWork<int> work(100000, 3, [](std::size_t) { return 1; });
    EXPECT_EQ(work.take(), 1);
}

} // namespace hdi::test
