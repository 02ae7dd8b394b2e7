#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace hdi {

// Numbers in bytes of either order. The caller has checked that `offset` + sizeof(T) lies within `bytes`.

namespace detail {

template <std::unsigned_integral T>
constexpr T reversed(T value) {
    if constexpr (sizeof(T) == 8) {
        return __builtin_bswap64(value);
    } else if constexpr (sizeof(T) == 4) {
        return __builtin_bswap32(value);
    } else {
        static_assert(sizeof(T) == 2);
        return __builtin_bswap16(value);
    }
}

// In one piece: compilers do not see through a loop over bytes, and a catalog is made of millions of such numbers.
template <std::unsigned_integral T, std::endian kOrder>
T load(std::span<const std::byte> bytes, std::size_t offset) {
    T value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return kOrder == std::endian::native ? value : reversed(value);
}

} // namespace detail

template <std::unsigned_integral T>
T loadBig(std::span<const std::byte> bytes, std::size_t offset) {
    return detail::load<T, std::endian::big>(bytes, offset);
}

template <std::unsigned_integral T>
T loadLittle(std::span<const std::byte> bytes, std::size_t offset) {
    return detail::load<T, std::endian::little>(bytes, offset);
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
