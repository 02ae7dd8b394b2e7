#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

// Carries the progress of a download from its thread to the main thread. At most one call is on its way: bytes that
// arrive meanwhile are added to it, so that a slow main thread is not buried in calls. Nor is a fast one woken for
// every small piece: that would cost more than the transfer itself.
class DownloadProgress : public std::enable_shared_from_this<DownloadProgress> {
public:
    using Callback = std::function<void(std::int64_t chunk, std::int64_t total, std::int64_t expected)>;

    explicit DownloadProgress(Callback callback) : callback_(std::move(callback)) {}

    // Both on the download's thread. flush() comes last: nothing is kept back after it.
    void add(std::int64_t bytes, std::int64_t expected);
    void flush();

private:
    void post();
    void deliver();

    Callback callback_;
    std::mutex mutex_;
    std::int64_t chunk_ = 0;
    std::int64_t total_ = 0;
    std::int64_t expected_ = -1;
    bool pending_ = false;
    std::chrono::steady_clock::time_point lastPost_{}; // the download's thread only
};
