#include "hdiutil/image/ChunkCache.h"

#include "base/Threads.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <utility>

namespace hdi {

namespace {

// So many files can be read at the same time, each from beginning to end, and all are read ahead.
constexpr std::size_t kStreams = 8;

constexpr std::size_t kAheadPerThread = 4;

// Headers and partition tables are neighbours too: what is decoded because of them keeps the processors busy just when
// the first file is waited for.
constexpr std::size_t kBytesInARow = std::size_t{128} * 1024;

} // namespace

ChunkCache::ChunkCache(Source source, std::size_t maxBytes, unsigned threads)
    : source_(std::move(source)), maxBytes_(maxBytes),
      threadCount_(threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency())), streams_(kStreams) {}

ChunkCache::~ChunkCache() {
    {
        const Lock lock(mutex_);
        stopping_ = true;
    }
    queued_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void ChunkCache::read(std::size_t chunk, std::size_t offset, std::span<std::byte> into) {
    Lock lock(mutex_);
    noteRead(chunk, into.size());
    Entry& entry = pin(lock, chunk);
    lock.unlock();
    std::copy_n(entry.buffer.bytes.get() + offset, into.size(), into.data());
    lock.lock();
    if (--entry.readers == 0) {
        changed_.notify_all();
    }
}

std::size_t ChunkCache::bytesInUse() const {
    const Lock lock(mutex_);
    return bytes_;
}

std::size_t ChunkCache::peakBytes() const {
    const Lock lock(mutex_);
    return peak_;
}

// Entries do not move in memory, and one with readers stays.
ChunkCache::Entry& ChunkCache::pin(Lock& lock, std::size_t chunk) {
    for (;;) {
        const auto found = entries_.find(chunk);
        if (found == entries_.end() || found->second.state == State::kQueued) {
            decode(lock, chunk);
        } else if (found->second.state == State::kDecoding) {
            changed_.wait(lock);
        } else {
            Entry& entry = found->second;
            ages_.splice(ages_.end(), ages_, entry.age);
            ++entry.readers;
            return entry;
        }
    }
}

void ChunkCache::decode(Lock& lock, std::size_t chunk) {
    entries_[chunk].state = State::kDecoding;
    Buffer buffer;
    try {
        const std::size_t size = source_.sizeOf(chunk);
        buffer = takeBuffer(lock, size);
        lock.unlock();
        source_.decode(chunk, {buffer.bytes.get(), size});
        lock.lock();
    } catch (...) {
        if (!lock.owns_lock()) {
            lock.lock();
        }
        // Whoever waits for it finds no entry, tries for himself, and so gets the error as his own.
        entries_.erase(chunk);
        drop(std::move(buffer));
        changed_.notify_all();
        throw;
    }
    Entry& entry = entries_[chunk];
    entry.buffer = std::move(buffer);
    entry.age = ages_.insert(ages_.end(), chunk);
    entry.state = State::kReady;
    changed_.notify_all();
}

ChunkCache::Buffer ChunkCache::takeBuffer(Lock& lock, std::size_t size) {
    for (;;) {
        Buffer spare;
        if (takeSpare(size, spare)) {
            return spare;
        }
        const bool fits = size <= maxBytes_ && bytes_ <= maxBytes_ - size;
        if (fits || bytes_ == 0) {
            Buffer fresh{std::unique_ptr<std::byte[]>(new std::byte[size]), size};
            bytes_ += size;
            peak_ = std::max(peak_, bytes_);
            return fresh;
        }
        if (!spares_.empty()) {
            drop(std::exchange(spares_.back(), {}));
            spares_.pop_back();
        } else if (!evictOne()) {
            changed_.wait(lock);
        }
    }
}

// Memory that has been written to before costs no page faults; but a small chunk does not take a large piece.
bool ChunkCache::takeSpare(std::size_t size, Buffer& into) {
    const auto fitting = std::find_if(spares_.begin(), spares_.end(), [size](const Buffer& spare) {
        return spare.capacity >= size && spare.capacity / 2 <= size;
    });
    if (fitting == spares_.end()) {
        return false;
    }
    into = std::move(*fitting);
    spares_.erase(fitting);
    return true;
}

bool ChunkCache::evictOne() {
    const auto oldest =
        std::find_if(ages_.begin(), ages_.end(), [this](std::size_t chunk) { return entries_.at(chunk).readers == 0; });
    if (oldest == ages_.end()) {
        return false;
    }
    const auto entry = entries_.find(*oldest);
    spares_.push_back(std::move(entry->second.buffer));
    entries_.erase(entry);
    ages_.erase(oldest);
    return true;
}

void ChunkCache::drop(Buffer buffer) {
    bytes_ -= buffer.capacity;
}

void ChunkCache::noteRead(std::size_t chunk, std::size_t size) {
    const auto follows = [chunk](const Stream& stream) { return stream.last == chunk || stream.last + 1 == chunk; };
    auto stream = std::find_if(streams_.begin(), streams_.end(), follows);
    if (stream == streams_.end()) {
        stream = std::min_element(streams_.begin(), streams_.end(),
                                  [](const Stream& a, const Stream& b) { return a.used < b.used; });
        *stream = {chunk, size, 0, ++clock_};
        return;
    }
    stream->used = ++clock_;
    const bool isEnough = stream->read >= kBytesInARow;
    stream->read += size;
    if (stream->last == chunk) {
        return;
    }
    stream->last = chunk;
    if (!isEnough) {
        return;
    }
    stream->ahead = std::min(std::max<std::size_t>(threadCount_, stream->ahead * 2), threadCount_ * kAheadPerThread);
    readAhead(chunk + 1, stream->ahead);
}

// At most half of the memory, so that what is decoded ahead is still there when its turn comes.
void ChunkCache::readAhead(std::size_t from, std::size_t count) {
    std::size_t bytes = 0;
    for (std::size_t chunk = from; chunk < source_.count && chunk - from < count; ++chunk) {
        bytes += source_.sizeOf(chunk);
        if (bytes > maxBytes_ / 2) {
            break;
        }
        if (entries_.try_emplace(chunk).second) {
            queue_.push_back(chunk);
            queued_.notify_one();
        }
    }
    if (!queue_.empty() && threads_.empty()) {
        startThreads();
    }
}

void ChunkCache::startThreads() {
    base::addThreads(threads_, threadCount_, [this] { work(); });
}

void ChunkCache::work() {
    Lock lock(mutex_);
    for (;;) {
        queued_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
        if (stopping_) {
            return;
        }
        const std::size_t chunk = queue_.front();
        queue_.pop_front();
        const auto found = entries_.find(chunk);
        if (found == entries_.end() || found->second.state != State::kQueued) {
            continue;
        }
        try {
            decode(lock, chunk);
        } catch (const std::exception&) {
            // Nobody has asked for it yet; whoever does gets the error.
        }
    }
}

} // namespace hdi
