#include "platform/DownloadProgress.h"

#include "platform/base/MainQueue.h"

#include <utility>

namespace {

constexpr std::int64_t kWorthACall = std::int64_t{512} * 1024;
constexpr auto kLongWithoutACall = std::chrono::milliseconds(50);

} // namespace

void DownloadProgress::add(std::int64_t bytes, std::int64_t expected) {
    const std::lock_guard lock(mutex_);
    chunk_ += bytes;
    total_ += bytes;
    expected_ = expected;
    const auto now = std::chrono::steady_clock::now();
    if (chunk_ < kWorthACall && now - lastPost_ < kLongWithoutACall) {
        return;
    }
    lastPost_ = now;
    post();
}

void DownloadProgress::flush() {
    const std::lock_guard lock(mutex_);
    if (chunk_ > 0) {
        post();
    }
}

void DownloadProgress::post() {
    if (!std::exchange(pending_, true)) {
        MainQueue::async([self = shared_from_this()] { self->deliver(); });
    }
}

void DownloadProgress::deliver() {
    std::unique_lock lock(mutex_);
    pending_ = false;
    const std::int64_t chunk = std::exchange(chunk_, 0);
    const std::int64_t total = total_;
    const std::int64_t expected = expected_;
    lock.unlock();
    if (callback_) {
        callback_(chunk, total, expected);
    }
}
