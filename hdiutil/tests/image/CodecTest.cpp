#include "hdiutil/image/Codec.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <set>

namespace hdi::test {
namespace {

// Compresses well, and is no zeros.
Bytes raw() {
    Bytes bytes(40 * 512);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        bytes[at] = static_cast<std::byte>(1 + at / 512 % 7);
    }
    return bytes;
}

TEST(Codecs, HaveKindsAndFormatsOfTheirOwn) {
    std::set<RunType> kinds;
    std::set<std::string_view> formats;
    for (const Codec& codec : codecs()) {
        EXPECT_TRUE(kinds.insert(codec.type).second) << codec.format;
        EXPECT_TRUE(formats.insert(codec.format).second) << codec.format;
        EXPECT_EQ(codec.format.size(), 4U);
        EXPECT_EQ(codec.decode != nullptr, isCompressed(codec.type)) << codec.format;
        EXPECT_EQ(codecOf(codec.type), &codec);
        EXPECT_EQ(codecOf(codec.format), &codec);
    }
    EXPECT_EQ(codecOf(RunType::kZero), nullptr);
    EXPECT_EQ(codecOf("UDTO"), nullptr);
}

TEST(Codecs, ReadWhatTheyWrite) {
    for (const Codec& codec : codecs()) {
        if (codec.encode == nullptr || codec.decode == nullptr) {
            continue;
        }
        Bytes stored = codec.encode(raw());
        ASSERT_FALSE(stored.empty()) << codec.format;
        EXPECT_LT(stored.size(), raw().size());
        Bytes read(raw().size());
        EXPECT_TRUE(decodeChunk(codec.type, stored, read)) << codec.format;
        EXPECT_EQ(read, raw()) << codec.format;
        Bytes longer(raw().size() + 1);
        EXPECT_FALSE(decodeChunk(codec.type, stored, longer)) << codec.format;
        stored.resize(stored.size() / 2);
        EXPECT_FALSE(decodeChunk(codec.type, stored, read)) << codec.format;
    }
}

TEST(Codecs, GiveNothingForWhatDoesNotGetShorter) {
    const Bytes one(1, std::byte{7});
    for (const Codec& codec : codecs()) {
        EXPECT_TRUE(codec.encode == nullptr || codec.encode(one).empty()) << codec.format;
    }
}

TEST(Codecs, DecodeNoKindThatStandsInNoRow) {
    Bytes into(512);
    EXPECT_FALSE(decodeChunk(RunType::kComment, Bytes(512), into));
    EXPECT_FALSE(decodeChunk(RunType::kRaw, Bytes(512), into));
}

} // namespace
} // namespace hdi::test
