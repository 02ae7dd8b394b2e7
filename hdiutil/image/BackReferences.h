#pragma once

#include <cstddef>
#include <cstring>
#include <span>

namespace hdi {

// Output of a decoder that copies from what it has written before. Every copy is checked against the output's ends.
class BackReferences {
public:
    explicit BackReferences(std::span<std::byte> out) : out_(out) {}

    std::size_t written() const { return written_; }
    std::size_t left() const { return out_.size() - written_; }

    // `readable` is how far beyond `length` the source's memory goes on at least: room for copying in whole words.
    bool append(const std::byte* source, std::size_t length, std::size_t readable) {
        if (length > left()) {
            return false;
        }
        if (length <= kWord && readable >= kWord && left() >= kWord) {
            std::memcpy(next(), source, kWord);
        } else if (length > 0) {
            std::memcpy(next(), source, length);
        }
        written_ += length;
        return true;
    }

    bool copyBack(std::size_t length, std::size_t distance) {
        if (distance == 0 || distance > written_ || length > left()) {
            return false;
        }
        const std::size_t slack = left() - length;
        if (distance >= kWord && slack >= kWord) {
            copyWords(length, distance);
        } else {
            std::byte* to = next();
            for (std::size_t i = 0; i < length; ++i) {
                to[i] = *(to + i - distance);
            }
        }
        written_ += length;
        return true;
    }

private:
    static constexpr std::size_t kWord = 16;

    std::byte* next() { return out_.data() + written_; }

    // Writes up to a word more than asked for.
    void copyWords(std::size_t length, std::size_t distance) {
        std::byte* to = next();
        for (std::size_t done = 0; done < length; done += kWord) {
            std::memcpy(to + done, to + done - distance, kWord);
        }
    }

    std::span<std::byte> out_;
    std::size_t written_ = 0;
};

} // namespace hdi
