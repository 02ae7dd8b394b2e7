#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hdi::lzfse {

// So many literals, then so many bytes from so far back. The last of a text may have no match.
struct Match {
    std::uint32_t literals = 0;
    std::uint32_t length = 0;
    std::uint32_t distance = 1;
};

// The largest numbers that a stream can hold.
inline constexpr std::uint32_t kMaxRun = 315;
inline constexpr std::uint32_t kMaxLength = 2359;
inline constexpr std::uint32_t kMaxDistance = 262139;

// `raw` as matches within those bounds that give it back.
std::vector<Match> findMatches(std::span<const std::byte> raw);

} // namespace hdi::lzfse
