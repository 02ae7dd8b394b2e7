#pragma once

#include "hdiutil/image/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace hdi {

// Short names for the numbers of the file systems' structures. The caller has checked that `at` and the number's width
// lie inside `bytes`.

inline std::uint8_t byteAt(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<std::uint8_t>(bytes[at]);
}

inline std::uint16_t be16(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint16_t>(bytes, at);
}
inline std::uint32_t be32(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint32_t>(bytes, at);
}
inline std::uint64_t be64(std::span<const std::byte> bytes, std::size_t at) {
    return loadBig<std::uint64_t>(bytes, at);
}

inline std::uint16_t le16(std::span<const std::byte> bytes, std::size_t at) {
    return loadLittle<std::uint16_t>(bytes, at);
}
inline std::uint32_t le32(std::span<const std::byte> bytes, std::size_t at) {
    return loadLittle<std::uint32_t>(bytes, at);
}
inline std::uint64_t le64(std::span<const std::byte> bytes, std::size_t at) {
    return loadLittle<std::uint64_t>(bytes, at);
}

} // namespace hdi
