#include "platform/linux/DownloadProgress.h"

#include "platform/base/MainQueue.h"

#include <utility>

void DownloadProgress::add(std::int64_t bytes, std::int64_t expected) {
    const std::lock_guard lock(mutex_);
    chunk_ += bytes;
    total_ += bytes;
    expected_ = expected;
    if (std::exchange(pending_, true))
        return;
    MainQueue::async([self = shared_from_this()] { self->deliver(); });
}

void DownloadProgress::deliver() {
    std::unique_lock lock(mutex_);
    pending_ = false;
    const std::int64_t chunk = std::exchange(chunk_, 0);
    const std::int64_t total = total_;
    const std::int64_t expected = expected_;
    lock.unlock();
    if (callback_)
        callback_(chunk, total, expected);
}
