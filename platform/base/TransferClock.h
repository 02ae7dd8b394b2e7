#pragma once

#include <chrono>
#include <cstdint>

// Tells when a transfer has taken too long: since its last byte, or in all. Bytes are told apart by a running number
// that changes whenever one came or went. Pure: the time is handed in, by the steady clock.
class TransferClock {
public:
    using Time = std::chrono::steady_clock::time_point;

    TransferClock(std::chrono::milliseconds idle, std::chrono::milliseconds whole, Time start)
        : idle_(idle), whole_(whole), start_(start), lastByte_(start) {}

    // Looks at the running number; true while the transfer may go on.
    bool mayGoOn(std::int64_t bytes, Time now) {
        if (bytes != bytes_) {
            bytes_ = bytes;
            lastByte_ = now;
        }
        expired_ = expired_ || now - lastByte_ >= idle_ || now - start_ >= whole_;
        return !expired_;
    }

    bool hasExpired() const { return expired_; }

private:
    std::chrono::milliseconds idle_;
    std::chrono::milliseconds whole_;
    Time start_;
    Time lastByte_;
    std::int64_t bytes_ = 0;
    bool expired_ = false;
};
