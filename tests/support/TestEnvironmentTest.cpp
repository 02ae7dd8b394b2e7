#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

TEST(Environment, MayBeReadWhileACaseChangesIt) {
    std::atomic<bool> ended = false;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 2; ++reader) {
        readers.emplace_back([&ended] {
            while (!ended) {
                EXPECT_EQ(std::getenv("QN_TEST_OF_NO_NAME"), nullptr);
            }
        });
    }
    for (int number = 0; number < 2000; ++number) {
        test::setEnvironment(("QN_TEST_" + std::to_string(number)).c_str(), "value");
    }
    ended = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_STREQ(std::getenv("QN_TEST_0"), "value");
    EXPECT_STREQ(std::getenv("QN_TEST_1999"), "value");
}

TEST(Environment, HoldsTheLastValueOfANameAndLosesIt) {
    test::setEnvironment("QN_TEST_VALUE", "one");
    test::setEnvironment("QN_TEST_VALUE", "two");
    test::setEnvironment("QN_TEST_VALUES", "other");
    EXPECT_STREQ(std::getenv("QN_TEST_VALUE"), "two");
    test::unsetEnvironment("QN_TEST_VALUE");
    EXPECT_EQ(std::getenv("QN_TEST_VALUE"), nullptr);
    EXPECT_STREQ(std::getenv("QN_TEST_VALUES"), "other");
}
