#pragma once

#include <unistd.h>

#include <utility>

namespace base {

// Owns a file descriptor; -1 is none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

    // Gives the descriptor away without closing it.
    int release() { return std::exchange(descriptor_, -1); }
    // Closes what is owned. Leaves errno as closing sets it, so that a caller who cares uses close().
    void reset(int descriptor = -1) {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
        descriptor_ = descriptor;
    }
    // Closes and tells whether that worked, with errno set otherwise: some file systems report only then that a write
    // has failed. True when there was none.
    bool close() { return descriptor_ < 0 || ::close(release()) == 0; }

private:
    int descriptor_ = -1;
};

} // namespace base
