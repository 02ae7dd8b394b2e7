#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The numbers that LZFSE's reader and writer share. Facts: as for Lzfse.h.
namespace hdi::lzfse {

enum Magic : std::uint32_t { // little-endian
    kEnd = 0x24787662,       // "bvx$"
    kPlain = 0x2d787662,     // "bvx-"
    kTables1 = 0x31787662,   // "bvx1": tables as they are
    kTables2 = 0x32787662,   // "bvx2": packed tables
    kLzvn = 0x6e787662,      // "bvxn"
};

// The most that one block holds.
inline constexpr std::size_t kMaxLiterals = 40000;
inline constexpr std::size_t kMaxMatches = 10000;

// A match is three numbers: how many literals precede it, its length, and its distance. Each is coded as a symbol that
// stands for a base value, and so many extra bits.
inline constexpr std::size_t kLengthSymbols = 20;
inline constexpr std::size_t kDistanceSymbols = 64;
inline constexpr std::size_t kLiteralSymbols = 256;

inline constexpr std::size_t kLengthStates = 64;
inline constexpr std::size_t kDistanceStates = 256;
inline constexpr std::size_t kLiteralStates = 1024;

struct Value {
    std::uint32_t base = 0;
    std::uint8_t bits = 0;
};

template <std::size_t N>
constexpr std::array<Value, N> valuesOf(const std::array<std::uint8_t, N>& bits) {
    std::array<Value, N> values{};
    std::uint32_t base = 0;
    for (std::size_t i = 0; i < N; ++i) {
        values[i] = {base, bits[i]};
        base += 1U << bits[i];
    }
    return values;
}

constexpr std::array<std::uint8_t, kDistanceSymbols> distanceBits() {
    std::array<std::uint8_t, kDistanceSymbols> bits{};
    for (std::size_t i = 0; i < bits.size(); ++i) {
        bits[i] = static_cast<std::uint8_t>(i / 4);
    }
    return bits;
}

inline constexpr auto kLiteralRuns =
    valuesOf<kLengthSymbols>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 3, 5, 8});
inline constexpr auto kMatchLengths =
    valuesOf<kLengthSymbols>({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 5, 8, 11});
inline constexpr auto kDistances = valuesOf(distanceBits());

static_assert(kLiteralRuns.back().base == 60 && kMatchLengths.back().base == 312 && kDistances.back().base == 229372);

// How often each symbol occurs, of as many as the alphabet has states.
struct Frequencies {
    std::array<std::uint16_t, kLengthSymbols> literalRuns{};
    std::array<std::uint16_t, kLengthSymbols> matchLengths{};
    std::array<std::uint16_t, kDistanceSymbols> distances{};
    std::array<std::uint16_t, kLiteralSymbols> literals{};
};

// What precedes the payload of a block with tables.
struct Header {
    std::uint32_t headerBytes = 0;
    std::uint32_t rawBytes = 0; // decoded
    std::uint32_t literalCount = 0;
    std::uint32_t matchCount = 0;
    std::uint32_t literalBytes = 0; // as stored
    std::uint32_t matchBytes = 0;
    int literalBits = 0; // unused ones at the end of the stream, as a number from -7 to 0
    int matchBits = 0;
    std::array<std::uint16_t, 4> literalStates{};
    std::uint16_t runState = 0;
    std::uint16_t lengthState = 0;
    std::uint16_t distanceState = 0;
    Frequencies frequencies;
};

// What lies before the packed frequencies of a block of the second kind, and all that precedes the payload of the
// first.
inline constexpr std::size_t kFixedHeader2 = 32;
inline constexpr std::size_t kHeader1 = 772;

} // namespace hdi::lzfse
