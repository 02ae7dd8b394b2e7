#include "hdiutil/front/ExtractQueue.h"

#include "base/Files.h"
#include "base/Threads.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/ImageError.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace hdi {
namespace {

constexpr std::uint64_t kPieceBytes = std::uint64_t{8} * 1024 * 1024;
constexpr std::size_t kBufferBytes = std::size_t{1024} * 1024;
constexpr std::size_t kWaitingPieces = 256;

bool isAllZero(std::span<const std::byte> bytes) {
    return bytes.empty() ||
           (bytes.front() == std::byte{0} && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

// Zeros stay a hole: the file already has its length, and a volume of nothing but zeros does not fill the disk.
void writeAt(int fd, std::span<const std::byte> bytes, std::uint64_t offset) {
    if (isAllZero(bytes)) {
        return;
    }
    if (!base::writeAllAt(fd, bytes, offset)) {
        throw AttachError(errorText(errno));
    }
}

} // namespace

void setModeAndTimes(int fd, const Attributes& attributes) {
    const std::timespec times[2] = {attributes.modified, attributes.modified};
    if (fchmod(fd, static_cast<mode_t>(attributes.mode & 0777)) != 0) {
        throw AttachError(errorText(errno));
    }
    // A time that the disk's file system cannot hold is no reason to refuse the file.
    (void)futimens(fd, times);
}

ExtractQueue::ExtractQueue(const Volume& volume, const std::atomic<bool>& stop, unsigned threads)
    : volume_(volume), stop_(stop) {
    const unsigned count = threads != 0 ? threads : std::max(2U, std::thread::hardware_concurrency());
    base::addThreads(threads_, count, [this] { work(); });
    if (threads_.empty()) {
        throw AttachError(errorText(EAGAIN));
    }
}

ExtractQueue::~ExtractQueue() {
    {
        const std::lock_guard lock(mutex_);
        pieces_.clear();
        closed_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void ExtractQueue::add(const std::shared_ptr<PendingFile>& file) {
    const std::uint64_t size = file->attributes.size;
    const std::uint64_t pieces = std::max<std::uint64_t>(1, size / kPieceBytes + (size % kPieceBytes != 0 ? 1 : 0));
    if (ftruncate(file->fd.get(), static_cast<off_t>(size)) != 0) {
        throw AttachError(errorText(errno));
    }
    file->piecesLeft = pieces;
    for (std::uint64_t i = 0; i < pieces; ++i) {
        const std::uint64_t offset = i * kPieceBytes;
        addPiece({file, offset, std::min(kPieceBytes, size - offset)});
    }
}

void ExtractQueue::addPiece(Piece piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return error_ || pieces_.size() < kWaitingPieces; });
    if (error_) {
        std::rethrow_exception(error_);
    }
    pieces_.push_back(std::move(piece));
    lock.unlock();
    changed_.notify_all();
}

void ExtractQueue::finish() {
    {
        const std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    if (error_) {
        std::rethrow_exception(error_);
    }
}

bool ExtractQueue::next(Piece& piece) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return error_ || closed_ || !pieces_.empty(); });
    if (error_ || pieces_.empty()) {
        return false;
    }
    piece = std::move(pieces_.front());
    pieces_.pop_front();
    lock.unlock();
    changed_.notify_all();
    return true;
}

void ExtractQueue::work() {
    std::vector<std::byte> buffer(kBufferBytes);
    Piece piece;
    try {
        while (next(piece)) {
            copy(piece, buffer);
            if (piece.file->piecesLeft.fetch_sub(1) == 1) {
                setModeAndTimes(piece.file->fd.get(), piece.file->attributes);
            }
            piece = {};
        }
    } catch (...) {
        fail(std::current_exception());
    }
}

void ExtractQueue::copy(const Piece& piece, std::vector<std::byte>& buffer) const {
    for (std::uint64_t done = 0; done < piece.length;) {
        if (stop_) {
            throw AttachError("interrupted");
        }
        const std::uint64_t offset = piece.offset + done;
        const std::span part(buffer.data(),
                             static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), piece.length - done)));
        if (volume_.read(piece.file->node, offset, part) != part.size()) {
            throw ImageError(ImageError::Kind::kDamaged, "a file is shorter than its size");
        }
        writeAt(piece.file->fd.get(), part, offset);
        done += part.size();
    }
}

void ExtractQueue::fail(std::exception_ptr error) {
    {
        const std::lock_guard lock(mutex_);
        error_ = error_ ? error_ : std::move(error);
    }
    changed_.notify_all();
}

} // namespace hdi
