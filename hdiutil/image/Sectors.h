#pragma once

#include <cstdint>

namespace hdi {

inline constexpr std::uint64_t kSectorBytes = 512;
// Disks beyond 2^60 bytes do not exist; below this bound no sum of two offsets overflows.
inline constexpr std::uint64_t kMaxSectors = std::uint64_t{1} << 51U;

} // namespace hdi
