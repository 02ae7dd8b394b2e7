#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <unordered_map>
#include <vector>

namespace hdi {

// Decoded chunks, at most so many bytes of them, the least recently read given up first. Chunks that are read one after
// the other are decoded ahead on threads of its own, once enough bytes in a row have been asked for; these start with
// the first such read. A chunk is never decoded twice at the same time.
//
// Every byte counts against the bound: of chunks kept, being decoded, and of memory kept for reuse. Whoever finds it
// full of chunks in use waits for one. Only a single chunk larger than the bound exceeds it, alone.
//
// Threads: read() any number at once.
class ChunkCache {
public:
    struct Source {
        std::size_t count = 0;                                               // of chunks
        std::function<std::size_t(std::size_t chunk)> sizeOf;                // in bytes, decoded
        std::function<void(std::size_t chunk, std::span<std::byte>)> decode; // throws ImageError
    };

    ChunkCache(Source source, std::size_t maxBytes, unsigned threads);
    ChunkCache(const ChunkCache&) = delete;
    ChunkCache& operator=(const ChunkCache&) = delete;
    ~ChunkCache();

    // Copies a part of a chunk, which has to lie within it. Throws what decoding throws.
    void read(std::size_t chunk, std::size_t offset, std::span<std::byte> into);

    // Now, and the most there ever was.
    std::size_t bytesInUse() const;
    std::size_t peakBytes() const;

private:
    struct Buffer {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t capacity = 0;
    };
    enum class State { kQueued, kDecoding, kReady };
    struct Entry {
        State state = State::kQueued;
        Buffer buffer;
        unsigned readers = 0;
        std::list<std::size_t>::iterator age;
    };
    // A run of reads that follow each other.
    struct Stream {
        std::size_t last = SIZE_MAX - 1; // nothing follows it
        std::size_t read = 0;            // bytes
        std::size_t ahead = 0;           // chunks
        std::uint64_t used = 0;
    };
    using Lock = std::unique_lock<std::mutex>;

    Entry& pin(Lock& lock, std::size_t chunk);
    void decode(Lock& lock, std::size_t chunk);
    Buffer takeBuffer(Lock& lock, std::size_t size);
    bool takeSpare(std::size_t size, Buffer& into);
    bool evictOne();
    void drop(Buffer buffer);
    void noteRead(std::size_t chunk, std::size_t size);
    void readAhead(std::size_t from, std::size_t count);
    void startThreads();
    void work();

    const Source source_;
    const std::size_t maxBytes_;
    const unsigned threadCount_;

    mutable std::mutex mutex_;
    std::condition_variable changed_; // an entry's state, its readers, or the room
    std::condition_variable queued_;
    std::unordered_map<std::size_t, Entry> entries_;
    std::list<std::size_t> ages_; // ready chunks, the least recently read first
    std::vector<Buffer> spares_;
    std::deque<std::size_t> queue_;
    std::vector<Stream> streams_;
    std::uint64_t clock_ = 0;
    std::size_t bytes_ = 0;
    std::size_t peak_ = 0;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace hdi
