#pragma once

#include <mutex>
#include <optional>
#include <utility>

// A process-wide value that is filled when it is first known. Its lock is held for a copy only, never while the value
// is worked out: two threads may both work it out, and both find the same.
//
// Threads: any.
template <typename Value>
class Slot {
public:
    Slot() = default;
    explicit Slot(Value value) : value_(std::move(value)) {}

    std::optional<Value> value() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }

    // Returns whether the slot was empty before.
    bool store(Value value) {
        const std::lock_guard lock(mutex_);
        const bool wasEmpty = !value_;
        value_ = std::move(value);
        return wasEmpty;
    }

private:
    mutable std::mutex mutex_;
    std::optional<Value> value_;
};
