#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace hdi {

// Numbers as the disk formats store them. The caller has checked that `at` and its width lie inside `bytes`.

inline std::uint8_t byteAt(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<std::uint8_t>(bytes[at]);
}

inline std::uint16_t be16(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(byteAt(bytes, at) << 8 | byteAt(bytes, at + 1));
}

inline std::uint32_t be32(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint32_t>(be16(bytes, at)) << 16 | be16(bytes, at + 2);
}

inline std::uint64_t be64(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint64_t>(be32(bytes, at)) << 32 | be32(bytes, at + 4);
}

inline std::uint16_t le16(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint16_t>(byteAt(bytes, at) | byteAt(bytes, at + 1) << 8);
}

inline std::uint32_t le32(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint32_t>(le16(bytes, at)) | static_cast<std::uint32_t>(le16(bytes, at + 2)) << 16;
}

inline std::uint64_t le64(std::span<const std::byte> bytes, std::size_t at) {
    return static_cast<std::uint64_t>(le32(bytes, at)) | static_cast<std::uint64_t>(le32(bytes, at + 4)) << 32;
}

} // namespace hdi
