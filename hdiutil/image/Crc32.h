#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace hdi {

// Whether checksums are compared at all: not in the fuzzers' build, where a changed byte is meant to reach the decoder.
inline constexpr bool kCompareChecksums = HDIUTIL_COMPARE_CHECKSUMS != 0;

// The CRC-32 of zlib and IEEE 802.3, continued from `before`, the CRC-32 of what comes before `bytes`.
std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before = 0);

// Of two pieces one after the other, from the CRC-32 of each and the length of the second. Lets the pieces of an image
// be summed on all cores.
std::uint32_t joinCrc32(std::uint32_t first, std::uint32_t second, std::uint64_t secondLength);

// Of so many zeros, in logarithmic time.
std::uint32_t crc32OfZeros(std::uint64_t length);

} // namespace hdi
