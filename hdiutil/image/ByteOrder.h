#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace hdi {

// Numbers in bytes of either order. The caller has checked that `offset` + sizeof(T) lies within `bytes`.

template <std::unsigned_integral T>
constexpr T loadBig(std::span<const std::byte> bytes, std::size_t offset) {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>((std::uint64_t{value} << 8U) | std::to_integer<std::uint64_t>(bytes[offset + i]));
    }
    return value;
}

template <std::unsigned_integral T>
constexpr T loadLittle(std::span<const std::byte> bytes, std::size_t offset) {
    T value = 0;
    for (std::size_t i = sizeof(T); i > 0; --i) {
        value = static_cast<T>((std::uint64_t{value} << 8U) | std::to_integer<std::uint64_t>(bytes[offset + i - 1]));
    }
    return value;
}

template <std::unsigned_integral T>
constexpr void storeBig(std::span<std::byte> bytes, std::size_t offset, T value) {
    for (std::size_t i = sizeof(T); i > 0; --i) {
        bytes[offset + i - 1] = static_cast<std::byte>(value);
        value = static_cast<T>(std::uint64_t{value} >> 8U);
    }
}

template <std::unsigned_integral T>
constexpr void storeLittle(std::span<std::byte> bytes, std::size_t offset, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[offset + i] = static_cast<std::byte>(value);
        value = static_cast<T>(std::uint64_t{value} >> 8U);
    }
}

} // namespace hdi
