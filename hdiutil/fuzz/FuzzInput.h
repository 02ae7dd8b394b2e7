#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

// What the fuzzers share: their input as a file, or taken apart.
namespace hdi::fuzz {

class InputSource final : public ByteSource {
public:
    explicit InputSource(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

    std::uint64_t size() const override { return bytes_.size(); }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    }

private:
    std::vector<std::byte> bytes_;
};

inline ByteSourcePtr sourceOf(std::span<const std::byte> bytes) {
    return std::make_shared<InputSource>(std::vector<std::byte>(bytes.begin(), bytes.end()));
}

// Takes the input apart from its beginning; zeros when there is no more.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(std::as_bytes(std::span(data, size))) {}

    std::size_t number(std::size_t bytes) {
        std::size_t value = 0;
        for (const std::byte byte : take(bytes)) {
            value = value << 8U | std::to_integer<std::size_t>(byte);
        }
        return value;
    }

    std::span<const std::byte> take(std::size_t length) {
        const auto taken = rest_.first(std::min(length, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }

    std::span<const std::byte> rest() const { return rest_; }

private:
    std::span<const std::byte> rest_;
};

// Runs `action`; refusing the input is one of the two right answers.
template <typename Action>
void allowRefusal(Action&& action) {
    try {
        action();
    } catch (const ImageError&) {
        return;
    }
}

} // namespace hdi::fuzz
