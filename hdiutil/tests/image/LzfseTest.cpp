#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Lzfse.h"
#include "hdiutil/image/LzfseEncoder.h"
#include "hdiutil/image/LzfseHeader.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

using namespace std::string_literals;

std::optional<Bytes> decoded(const Bytes& stored, std::size_t size) {
    Bytes into(size);
    return decodeLzfse(stored, into) ? std::optional(into) : std::nullopt;
}

Bytes word(std::uint32_t value) {
    Bytes bytes(4);
    storeLittle(std::span(bytes), 0, value);
    return bytes;
}

Bytes half(std::uint16_t value) {
    Bytes bytes(2);
    storeLittle(std::span(bytes), 0, value);
    return bytes;
}

Bytes plain(const Bytes& raw) {
    return bytesOf("bvx-") + word(static_cast<std::uint32_t>(raw.size())) + raw;
}

Bytes lzvn(const std::string& codes, std::uint32_t rawBytes) {
    return bytesOf("bvxn") + word(rawBytes) + word(static_cast<std::uint32_t>(codes.size())) + bytesOf(codes);
}

const std::string kLzvnEnd = "\x06\0\0\0\0\0\0\0"s;
const Bytes kEnd = bytesOf("bvx$");

// The same block with its tables as they are, as older writers store it.
Bytes withPlainTables(const Bytes& packed) {
    const auto header = lzfse::parseHeader(packed);
    Bytes out = bytesOf("bvx1") + word(header->rawBytes) + word(header->literalBytes + header->matchBytes) +
                word(header->literalCount) + word(header->matchCount) + word(header->literalBytes) +
                word(header->matchBytes) + word(static_cast<std::uint32_t>(header->literalBits));
    for (const std::uint16_t state : header->literalStates) {
        out = out + half(state);
    }
    out = out + word(static_cast<std::uint32_t>(header->matchBits)) + half(header->runState) +
          half(header->lengthState) + half(header->distanceState);
    const auto append = [&out](const auto& table) {
        for (const std::uint16_t frequency : table) {
            out = out + half(frequency);
        }
    };
    append(header->frequencies.literalRuns);
    append(header->frequencies.matchLengths);
    append(header->frequencies.distances);
    append(header->frequencies.literals);
    return out + half(0) + Bytes(packed.begin() + static_cast<std::ptrdiff_t>(header->headerBytes), packed.end());
}

} // namespace

TEST(Lzfse, GivesBackWhatItsWriterStored) {
    for (const std::size_t size : {1U, 3U, 512U, 4096U, 100000U, 1048576U}) {
        const Bytes text = prose(size, size);
        EXPECT_EQ(decoded(encodeLzfse(text), size), text) << size;
        const Bytes random = noise(size, size);
        EXPECT_EQ(decoded(encodeLzfse(random), size), random) << size;
        EXPECT_EQ(decoded(encodeLzfse(Bytes(size)), size), Bytes(size)) << size;
    }
}

TEST(Lzfse, ReadsPlainBlocks) {
    EXPECT_EQ(decoded(plain(bytesOf("disk ")) + plain(bytesOf("image")) + kEnd, 10), bytesOf("disk image"));
}

TEST(Lzfse, ReadsTablesThatAreNotPacked) {
    const Bytes text = prose(20000, 5);
    EXPECT_EQ(decoded(withPlainTables(encodeLzfse(text)), text.size()), text);
}

TEST(Lzfse, GoesOnBehindABlockOfAnotherKind) {
    const Bytes text = prose(3000, 1);
    Bytes packed = encodeLzfse(text);
    packed.resize(packed.size() - kEnd.size());
    EXPECT_EQ(decoded(plain(text) + packed +
                          lzvn("\xe3"
                               "abc" +
                                   kLzvnEnd,
                               3) +
                          kEnd,
                      6003),
              text + text + bytesOf("abc"));
}

struct LzvnCase {
    const char* what;
    std::string codes;
    std::string expected;
};

class LzvnBlock : public testing::TestWithParam<LzvnCase> {};

TEST_P(LzvnBlock, IsRead) {
    const auto& [what, codes, expected] = GetParam();
    const auto size = static_cast<std::uint32_t>(expected.size());
    EXPECT_EQ(decoded(lzvn(codes + kLzvnEnd, size), size), bytesOf(expected)) << what;
}

INSTANTIATE_TEST_SUITE_P(Codes, LzvnBlock,
                         testing::Values(LzvnCase{"few literals",
                                                  "\xe3"
                                                  "abc",
                                                  "abc"},
                                         LzvnCase{"many literals",
                                                  "\xe0\x01"
                                                  "0123456789abcdefg",
                                                  "0123456789abcdefg"},
                                         LzvnCase{"short distance",
                                                  "\xe4"
                                                  "abcd"
                                                  "\x08\x04",
                                                  "abcdabcd"},
                                         LzvnCase{"literals and a short distance",
                                                  "\x88\x02"
                                                  "xy",
                                                  "xyxyxy"},
                                         LzvnCase{"long distance",
                                                  "\xe4"
                                                  "abcd"
                                                  "\x0f\x03\0"s,
                                                  "abcdbcdb"},
                                         LzvnCase{"medium distance",
                                                  "\xe4"
                                                  "abcd"
                                                  "\xa2\x13\0"s,
                                                  "abcdabcdabcdabcdab"},
                                         LzvnCase{"distance of the match before",
                                                  "\xe4"
                                                  "abcd"
                                                  "\0\x04\x46"
                                                  "z"s,
                                                  "abcdabczabc"},
                                         LzvnCase{"few bytes of the match before",
                                                  "\xe2"
                                                  "ab"
                                                  "\0\x02\xf4"s,
                                                  "ababababa"},
                                         LzvnCase{"many bytes of the match before",
                                                  "\xe2"
                                                  "ab"
                                                  "\0\x02\xf0\x01"s,
                                                  "ababababababababababab"},
                                         LzvnCase{"nothing",
                                                  "\x0e\x16\xe1"
                                                  "a",
                                                  "a"}));

class BadLzvnBlock : public testing::TestWithParam<LzvnCase> {};

TEST_P(BadLzvnBlock, IsRefused) {
    const auto& [what, codes, expected] = GetParam();
    EXPECT_FALSE(decoded(lzvn(codes, 4), 4)) << what;
}

INSTANTIATE_TEST_SUITE_P(Codes, BadLzvnBlock,
                         testing::Values(LzvnCase{"no end",
                                                  "\xe4"
                                                  "abcd",
                                                  ""},
                                         LzvnCase{"literals beyond the input",
                                                  "\xe4"
                                                  "abc",
                                                  ""},
                                         LzvnCase{"literals beyond the output",
                                                  "\xe5"
                                                  "abcde" +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"fewer bytes than it says",
                                                  "\xe3"
                                                  "abc" +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"a match beyond the output",
                                                  "\xe2"
                                                  "ab"
                                                  "\0\x02"s +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"a match from before the beginning",
                                                  "\xe1"
                                                  "a"
                                                  "\0\x02"s +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"a match at no distance",
                                                  "\xe1"
                                                  "a"
                                                  "\0\0"s +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"a repeated match that never was",
                                                  "\xe1"
                                                  "a"
                                                  "\xf3" +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"half a short distance",
                                                  "\xe1"
                                                  "a"
                                                  "\0"s,
                                                  ""},
                                         LzvnCase{"half a medium distance",
                                                  "\xe1"
                                                  "a"
                                                  "\xa0\x04"s,
                                                  ""},
                                         LzvnCase{"half a long distance",
                                                  "\xe1"
                                                  "a"
                                                  "\x07\x01"s,
                                                  ""},
                                         LzvnCase{"half a number of literals", "\xe0"s, ""},
                                         LzvnCase{"half a number of bytes",
                                                  "\xe1"
                                                  "a"
                                                  "\xf0"s,
                                                  ""},
                                         LzvnCase{"a code without meaning",
                                                  "\xe4"
                                                  "abcd"
                                                  "\x1e" +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"a reserved code",
                                                  "\xe4"
                                                  "abcd"
                                                  "\x70" +
                                                      kLzvnEnd,
                                                  ""},
                                         LzvnCase{"another reserved code",
                                                  "\xe4"
                                                  "abcd"
                                                  "\xd0" +
                                                      kLzvnEnd,
                                                  ""}));

TEST(Lzfse, RefusesStreamsThatDoNotFillTheOutput) {
    const Bytes text = prose(3000, 1);
    EXPECT_FALSE(decoded(encodeLzfse(text), 3001));
    EXPECT_FALSE(decoded(encodeLzfse(text), 2999));
    EXPECT_FALSE(decoded(kEnd, 1));
    EXPECT_FALSE(decoded({}, 1));
    EXPECT_FALSE(decoded(bytesOf("bvx?"), 1));
    EXPECT_FALSE(decoded(bytesOf("bvx-") + word(5) + bytesOf("disk"), 5));
    EXPECT_FALSE(decoded(bytesOf("bvxn"), 1));
}

TEST(Lzfse, RefusesEveryTruncation) {
    const Bytes text = prose(2000, 2);
    const Bytes packed = encodeLzfse(text);
    const Bytes older = withPlainTables(packed);
    for (std::size_t size = 0; size + kEnd.size() < packed.size(); ++size) {
        EXPECT_FALSE(decoded(Bytes(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size)), text.size()));
    }
    for (std::size_t size = 0; size + kEnd.size() < older.size(); ++size) {
        EXPECT_FALSE(decoded(Bytes(older.begin(), older.begin() + static_cast<std::ptrdiff_t>(size)), text.size()));
    }
}

TEST(Lzfse, SurvivesEveryChangedByte) {
    const Bytes text = prose(2000, 3);
    for (const Bytes& packed : {encodeLzfse(text), withPlainTables(encodeLzfse(text))}) {
        for (std::size_t i = 0; i < packed.size(); ++i) {
            Bytes changed = packed;
            changed[i] ^= std::byte{0x55};
            Bytes into(text.size());
            decodeLzfse(changed, into); // any answer, but no crash; sanitizers watch
        }
    }
    SUCCEED();
}

TEST(Lzfse, RefusesTablesThatCountMoreThanThereAreStates) {
    const Bytes packed = encodeLzfse(prose(2000, 4));
    Bytes older = withPlainTables(packed);
    storeLittle<std::uint16_t>(older, 50, 65);
    EXPECT_FALSE(lzfse::parseHeader(older));
}

TEST(Lzfse, RefusesStatesAndCountsBeyondTheirBounds) {
    const Bytes good = withPlainTables(encodeLzfse(prose(2000, 4)));
    ASSERT_TRUE(lzfse::parseHeader(good));
    const auto changed = [&good](std::size_t offset, std::uint16_t value) {
        Bytes bytes = good;
        storeLittle(std::span(bytes), offset, value);
        return lzfse::parseHeader(bytes).has_value();
    };
    EXPECT_FALSE(changed(14, 1)) << "literals";
    EXPECT_FALSE(changed(16, 10001)) << "matches";
    EXPECT_FALSE(changed(20, 60000)) << "bytes of literals";
    EXPECT_FALSE(changed(28, 1)) << "bits of literals";
    EXPECT_FALSE(changed(32, 1024)) << "a literal's state";
    EXPECT_FALSE(changed(44, 64)) << "a run's state";
    EXPECT_FALSE(changed(46, 64)) << "a length's state";
    EXPECT_FALSE(changed(48, 256)) << "a distance's state";
}

} // namespace hdi::test
