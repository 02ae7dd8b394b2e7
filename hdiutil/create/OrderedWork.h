#pragma once

#include "base/Threads.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace hdi {

// Makes the results 0…count-1 on `threads` threads of its own (0: one per core) and hands them to the caller in order.
// So many results lie ready at most that no thread waits for long, and no more.
//
// Threads: take() and the constructor's on one, `make` on any.
template <typename Result>
class OrderedWork {
public:
    OrderedWork(std::size_t count, unsigned threads, std::function<Result(std::size_t)> make)
        : count_(count), make_(std::move(make)) {
        const std::size_t wanted = threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency());
        results_.resize(wanted * kReadyPerThread);
        base::addThreads(threads_, std::min(wanted, count), [this] { work(); });
        if (threads_.empty() && count > 0) {
            throw std::system_error(EAGAIN, std::generic_category());
        }
    }

    OrderedWork(const OrderedWork&) = delete;
    OrderedWork& operator=(const OrderedWork&) = delete;

    ~OrderedWork() {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

    // The next result; at most `count` times. Throws what making it threw.
    Result take() {
        std::unique_lock lock(mutex_);
        std::optional<Result>& slot = results_[taken_ % results_.size()];
        changed_.wait(lock, [&] { return slot.has_value() || error_; });
        if (!slot) {
            std::rethrow_exception(error_);
        }
        std::optional<Result> result = std::exchange(slot, std::nullopt);
        ++taken_;
        changed_.notify_all();
        return *std::move(result);
    }

private:
    static constexpr std::size_t kReadyPerThread = 4;

    void work() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return stopping_ || error_ || next_ < taken_ + results_.size(); });
            if (stopping_ || error_ || next_ >= count_) {
                return;
            }
            const std::size_t index = next_++;
            lock.unlock();
            std::optional<Result> result;
            std::exception_ptr error;
            try {
                result = make_(index);
            } catch (...) {
                error = std::current_exception();
            }
            lock.lock();
            error_ = error_ ? error_ : error;
            results_[index % results_.size()] = std::move(result);
            changed_.notify_all();
        }
    }

    const std::size_t count_;
    const std::function<Result(std::size_t)> make_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::optional<Result>> results_; // a ring
    std::size_t next_ = 0;
    std::size_t taken_ = 0;
    std::exception_ptr error_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace hdi
