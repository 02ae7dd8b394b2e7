#include "hdiutil/image/Adc.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

std::optional<Bytes> decoded(std::string_view stored, std::size_t size) {
    Bytes into(size);
    return decodeAdc(bytesOf(stored), into) ? std::optional(into) : std::nullopt;
}

using namespace std::string_view_literals;

} // namespace

TEST(Adc, CopiesLiterals) {
    EXPECT_EQ(decoded("\x82"
                      "abc"sv,
                      3),
              bytesOf("abc"));
}

TEST(Adc, CopiesFromShortlyBefore) {
    EXPECT_EQ(decoded("\x82"
                      "abc"
                      "\x00\x02"sv,
                      6),
              bytesOf("abcabc"));
    EXPECT_EQ(decoded("\x80"
                      "a"
                      "\x3c\x00"sv,
                      19),
              bytesOf("aaaaaaaaaaaaaaaaaaa"));
}

TEST(Adc, CopiesFromLongBefore) {
    const Bytes first = noise(128, 1);
    const std::string text(reinterpret_cast<const char*>(first.data()), first.size());
    std::string stored;
    for (int i = 0; i < 10; ++i) {
        stored += "\xff" + text;
    }
    stored += "\x41\x04\xff"sv; // 5 bytes from 1280 back
    const auto whole = decoded(stored, 1285);
    ASSERT_TRUE(whole);
    EXPECT_EQ(Bytes(whole->end() - 5, whole->end()), Bytes(first.begin(), first.begin() + 5));
}

TEST(Adc, RefusesWhatDoesNotFit) {
    EXPECT_FALSE(decoded("\x82"
                         "ab"sv,
                         3))
        << "literals beyond the input";
    EXPECT_FALSE(decoded("\x82"
                         "abc"sv,
                         2))
        << "literals beyond the output";
    EXPECT_FALSE(decoded("\x82"
                         "abc"sv,
                         4))
        << "output that is not filled";
    EXPECT_FALSE(decoded("\x80"
                         "a"
                         "\x00\x01"sv,
                         4))
        << "a reference to before the beginning";
    EXPECT_FALSE(decoded("\x80"
                         "a"
                         "\x00\x00"sv,
                         3))
        << "a reference beyond the output";
    EXPECT_FALSE(decoded("\x80"
                         "a"
                         "\x00"sv,
                         4))
        << "half a short reference";
    EXPECT_FALSE(decoded("\x80"
                         "a"
                         "\x40\x00"sv,
                         5))
        << "half a long reference";
}

} // namespace hdi::test
