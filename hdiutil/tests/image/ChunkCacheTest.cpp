#include "hdiutil/image/ChunkCache.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <set>

namespace hdi::test {

namespace {

constexpr std::size_t kSize = 1000;

std::byte valueOf(std::size_t chunk) {
    return static_cast<std::byte>(chunk % 251);
}

// Chunks full of one value, and a record of which were decoded, how often, and whether ever twice at the same time.
class Chunks {
public:
    explicit Chunks(std::size_t count) : count_(count) {}

    ChunkCache::Source source() {
        return {count_, [](std::size_t) { return kSize; },
                [this](std::size_t chunk, std::span<std::byte> into) { decode(chunk, into); }};
    }

    void failOn(std::size_t chunk) { bad_.insert(chunk); }
    void repair() { bad_.clear(); }

    std::size_t decodedCount(std::size_t chunk) {
        const std::lock_guard lock(mutex_);
        return decoded_[chunk];
    }

    bool waitUntilDecoded(std::size_t chunk) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return decoded_[chunk] > 0; });
    }

    bool overlapped() const { return overlapped_; }

private:
    void decode(std::size_t chunk, std::span<std::byte> into) {
        {
            const std::lock_guard lock(mutex_);
            overlapped_ = overlapped_ || !running_.insert(chunk).second;
        }
        std::fill(into.begin(), into.end(), valueOf(chunk));
        const std::lock_guard lock(mutex_);
        running_.erase(chunk);
        ++decoded_[chunk];
        changed_.notify_all();
        if (bad_.contains(chunk)) {
            throw ImageError(ImageError::Kind::kDamaged, "bad chunk");
        }
    }

    std::size_t count_;
    std::set<std::size_t> bad_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::size_t, std::size_t> decoded_;
    std::set<std::size_t> running_;
    std::atomic<bool> overlapped_ = false;
};

Bytes readChunk(ChunkCache& cache, std::size_t chunk) {
    Bytes bytes(kSize);
    cache.read(chunk, 0, bytes);
    return bytes;
}

void readInOrder(ChunkCache& cache, std::size_t first, std::size_t last) {
    for (std::size_t chunk = first; chunk <= last; ++chunk) {
        EXPECT_EQ(readChunk(cache, chunk), Bytes(kSize, valueOf(chunk)));
    }
}

} // namespace

TEST(ChunkCache, DecodesAChunkOnceWhileItIsKept) {
    Chunks chunks(10);
    ChunkCache cache(chunks.source(), 10 * kSize, 1);
    EXPECT_EQ(readChunk(cache, 5), Bytes(kSize, valueOf(5)));
    EXPECT_EQ(readChunk(cache, 5), Bytes(kSize, valueOf(5)));
    EXPECT_EQ(chunks.decodedCount(5), 1U);
}

TEST(ChunkCache, GivesUpTheLeastRecentlyRead) {
    Chunks chunks(100);
    ChunkCache cache(chunks.source(), 3 * kSize, 1);
    for (const std::size_t chunk : {10U, 20U, 30U, 10U, 40U, 10U, 20U}) {
        EXPECT_EQ(readChunk(cache, chunk), Bytes(kSize, valueOf(chunk)));
    }
    EXPECT_EQ(chunks.decodedCount(10), 1U);
    EXPECT_EQ(chunks.decodedCount(20), 2U);
}

TEST(ChunkCache, NeverHoldsMoreThanItsBound) {
    Chunks chunks(1000);
    ChunkCache cache(chunks.source(), 8 * kSize, 4);
    for (std::size_t chunk = 0; chunk < 1000; ++chunk) {
        readChunk(cache, chunk);
    }
    EXPECT_LE(cache.peakBytes(), 8 * kSize);
    EXPECT_GT(cache.bytesInUse(), 0U);
}

TEST(ChunkCache, ReadsAChunkThatIsLargerThanTheBound) {
    Chunks chunks(3);
    ChunkCache cache(chunks.source(), kSize / 2, 1);
    EXPECT_EQ(readChunk(cache, 2), Bytes(kSize, valueOf(2)));
    EXPECT_EQ(readChunk(cache, 0), Bytes(kSize, valueOf(0)));
    EXPECT_EQ(cache.peakBytes(), kSize);
}

TEST(ChunkCache, DecodesAheadOfReadsInOrder) {
    Chunks chunks(400);
    ChunkCache cache(chunks.source(), 400 * kSize, 2);
    readInOrder(cache, 10, 149);
    EXPECT_TRUE(chunks.waitUntilDecoded(150));
    EXPECT_TRUE(chunks.waitUntilDecoded(151));
    EXPECT_EQ(readChunk(cache, 150), Bytes(kSize, valueOf(150)));
    EXPECT_EQ(chunks.decodedCount(150), 1U);
}

TEST(ChunkCache, DecodesNothingAheadOfAFewNeighbours) {
    Chunks chunks(400);
    ChunkCache cache(chunks.source(), 400 * kSize, 2);
    readInOrder(cache, 0, 100);
    EXPECT_EQ(cache.bytesInUse(), 101 * kSize);
}

TEST(ChunkCache, DecodesNothingAheadOfReadsHereAndThere) {
    Chunks chunks(1000);
    ChunkCache cache(chunks.source(), 1000 * kSize, 2);
    for (const std::size_t chunk : {0U, 500U, 20U, 900U, 300U, 700U, 100U, 600U, 200U}) {
        readChunk(cache, chunk);
    }
    EXPECT_EQ(cache.bytesInUse(), 9 * kSize);
}

TEST(ChunkCache, GivesTheErrorToEveryReaderAndTriesAgain) {
    Chunks chunks(10);
    chunks.failOn(3);
    ChunkCache cache(chunks.source(), 10 * kSize, 2);
    EXPECT_EQ(errorOf([&] { readChunk(cache, 3); }), ImageError::Kind::kDamaged);
    EXPECT_EQ(errorOf([&] { readChunk(cache, 3); }), ImageError::Kind::kDamaged);
    EXPECT_EQ(cache.bytesInUse(), 0U);
    chunks.repair();
    EXPECT_EQ(readChunk(cache, 3), Bytes(kSize, valueOf(3)));
}

TEST(ChunkCache, KeepsABadChunkAheadToItself) {
    Chunks chunks(400);
    chunks.failOn(150);
    ChunkCache cache(chunks.source(), 400 * kSize, 2);
    readInOrder(cache, 10, 149);
    EXPECT_TRUE(chunks.waitUntilDecoded(150));
    EXPECT_EQ(readChunk(cache, 151), Bytes(kSize, valueOf(151)));
    EXPECT_EQ(errorOf([&] { readChunk(cache, 150); }), ImageError::Kind::kDamaged);
}

TEST(ChunkCache, ServesManyReadersWithinItsBound) {
    Chunks chunks(200);
    chunks.failOn(77);
    std::atomic<std::size_t> wrong = 0;
    {
        ChunkCache cache(chunks.source(), 6 * kSize, 3);
        std::vector<std::jthread> readers;
        for (std::size_t reader = 0; reader < 6; ++reader) {
            readers.emplace_back([&, reader] {
                std::mt19937_64 random(reader);
                for (std::size_t i = 0; i < 2000; ++i) {
                    const std::size_t chunk = reader % 2 == 0 ? i % 200 : random() % 200;
                    Bytes part(100);
                    const auto error = errorOf([&] { cache.read(chunk, random() % 900, part); });
                    wrong += error.has_value() != (chunk == 77) || (!error && part != Bytes(100, valueOf(chunk)));
                }
            });
        }
        readers.clear();
        EXPECT_LE(cache.peakBytes(), 6 * kSize);
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_FALSE(chunks.overlapped());
}

} // namespace hdi::test
