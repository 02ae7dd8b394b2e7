#pragma once

#include "base/Descriptor.h"
#include "hdiutil/volume/Volume.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace hdi {

// A created, still empty file whose contents are to be copied. Its mode and times are set when the last piece is done.
struct PendingFile {
    base::Descriptor fd;
    NodeId node = 0;
    Attributes attributes;
    std::atomic<std::uint64_t> piecesLeft = 1;
};

// The threads that copy contents from a volume into files. A big file is cut into pieces, so that it too is copied by
// all of them. The number of waiting pieces, and with it of open files, is bounded: add() waits.
//
// Threads: add() and finish() on one thread.
class ExtractQueue {
public:
    ExtractQueue(const Volume& volume, const std::atomic<bool>& stop, unsigned threads);
    ExtractQueue(const ExtractQueue&) = delete;
    ExtractQueue& operator=(const ExtractQueue&) = delete;
    ~ExtractQueue();

    // Throws what a copying thread met, instead of adding.
    void add(const std::shared_ptr<PendingFile>& file);
    // Waits until everything is copied. Throws what a copying thread met.
    void finish();

private:
    struct Piece {
        std::shared_ptr<PendingFile> file;
        std::uint64_t offset = 0;
        std::uint64_t length = 0;
    };

    void addPiece(Piece piece);
    void work();
    bool next(Piece& piece);
    void copy(const Piece& piece, std::vector<std::byte>& buffer) const;
    void fail(std::exception_ptr error);

    const Volume& volume_;
    const std::atomic<bool>& stop_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Piece> pieces_;
    bool closed_ = false;
    std::exception_ptr error_;
    std::vector<std::thread> threads_;
};

// Sets a copied entry's permission bits and times. Throws FrontError.
void setModeAndTimes(int fd, const Attributes& attributes);

} // namespace hdi
