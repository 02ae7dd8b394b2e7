#include "hdiutil/image/LzfseHeader.h"

#include "hdiutil/image/ByteOrder.h"

#include <algorithm>
#include <numeric>

namespace hdi::lzfse {

namespace {

using Bytes = std::span<const std::byte>;

unsigned field(std::uint64_t word, unsigned shift, unsigned bits) {
    return static_cast<unsigned>(word >> shift & ((std::uint64_t{1} << bits) - 1));
}

std::uint16_t state(std::uint64_t word, unsigned shift) {
    return static_cast<std::uint16_t>(field(word, shift, 10));
}

int unusedBits(std::uint64_t word) {
    return static_cast<int>(field(word, 60, 3)) - 7;
}

// The four tables one after the other, as they are stored.
template <typename Action>
void forEachFrequency(Frequencies& frequencies, Action&& action) {
    std::for_each(frequencies.literalRuns.begin(), frequencies.literalRuns.end(), action);
    std::for_each(frequencies.matchLengths.begin(), frequencies.matchLengths.end(), action);
    std::for_each(frequencies.distances.begin(), frequencies.distances.end(), action);
    std::for_each(frequencies.literals.begin(), frequencies.literals.end(), action);
}

struct PackedNumber {
    std::uint16_t value;
    unsigned bits;
};

// A number of 2 to 14 bits, small ones short; the lowest bits of `bits` tell its length.
PackedNumber packedNumber(std::uint32_t bits) {
    constexpr std::array<std::uint8_t, 4> kShort = {0, 2, 1, 3};
    if ((bits & 1U) == 0) {
        return {kShort[bits & 3U], 2};
    }
    if ((bits & 3U) == 1) {
        return {static_cast<std::uint16_t>(2 + (bits >> 2U & 1U)), 3};
    }
    if ((bits & 7U) == 3) {
        return {static_cast<std::uint16_t>(4 + (bits >> 3U & 3U)), 5};
    }
    if ((bits & 15U) == 7) {
        return {static_cast<std::uint16_t>(8 + (bits >> 4U & 15U)), 8};
    }
    return {static_cast<std::uint16_t>(24 + (bits >> 4U & 1023U)), 14};
}

bool unpackFrequencies(Bytes packed, Frequencies& frequencies) {
    if (packed.empty()) {
        return true; // a block without matches and literals
    }
    std::uint64_t bits = 0;
    unsigned count = 0;
    std::size_t at = 0;
    bool complete = true;
    forEachFrequency(frequencies, [&](std::uint16_t& frequency) {
        for (; count <= 56 && at < packed.size(); count += 8) {
            bits |= std::to_integer<std::uint64_t>(packed[at++]) << count;
        }
        const PackedNumber number = packedNumber(static_cast<std::uint32_t>(bits));
        complete = complete && number.bits <= count;
        const unsigned used = std::min(number.bits, count);
        frequency = number.value;
        bits >>= used;
        count -= used;
    });
    return complete && at == packed.size() && count < 8;
}

std::optional<Header> parsePlainTables(Bytes bytes) {
    if (bytes.size() < kHeader1) {
        return std::nullopt;
    }
    Header header;
    header.headerBytes = kHeader1;
    header.rawBytes = loadLittle<std::uint32_t>(bytes, 4);
    header.literalCount = loadLittle<std::uint32_t>(bytes, 12);
    header.matchCount = loadLittle<std::uint32_t>(bytes, 16);
    header.literalBytes = loadLittle<std::uint32_t>(bytes, 20);
    header.matchBytes = loadLittle<std::uint32_t>(bytes, 24);
    header.literalBits = static_cast<int>(loadLittle<std::uint32_t>(bytes, 28));
    for (std::size_t i = 0; i < header.literalStates.size(); ++i) {
        header.literalStates.at(i) = loadLittle<std::uint16_t>(bytes, 32 + 2 * i);
    }
    header.matchBits = static_cast<int>(loadLittle<std::uint32_t>(bytes, 40));
    header.runState = loadLittle<std::uint16_t>(bytes, 44);
    header.lengthState = loadLittle<std::uint16_t>(bytes, 46);
    header.distanceState = loadLittle<std::uint16_t>(bytes, 48);
    std::size_t at = 50;
    forEachFrequency(header.frequencies, [&](std::uint16_t& frequency) {
        frequency = loadLittle<std::uint16_t>(bytes, at);
        at += sizeof(std::uint16_t);
    });
    return header;
}

std::optional<Header> parsePackedTables(Bytes bytes) {
    if (bytes.size() < kFixedHeader2) {
        return std::nullopt;
    }
    const auto first = loadLittle<std::uint64_t>(bytes, 8);
    const auto second = loadLittle<std::uint64_t>(bytes, 16);
    const auto third = loadLittle<std::uint64_t>(bytes, 24);
    Header header;
    header.headerBytes = field(third, 0, 32);
    header.rawBytes = loadLittle<std::uint32_t>(bytes, 4);
    header.literalCount = field(first, 0, 20);
    header.literalBytes = field(first, 20, 20);
    header.matchCount = field(first, 40, 20);
    header.literalBits = unusedBits(first);
    header.literalStates = {state(second, 0), state(second, 10), state(second, 20), state(second, 30)};
    header.matchBytes = field(second, 40, 20);
    header.matchBits = unusedBits(second);
    header.runState = state(third, 32);
    header.lengthState = state(third, 42);
    header.distanceState = state(third, 52);
    if (header.headerBytes < kFixedHeader2 || header.headerBytes > bytes.size() ||
        !unpackFrequencies(bytes.subspan(kFixedHeader2, header.headerBytes - kFixedHeader2), header.frequencies)) {
        return std::nullopt;
    }
    return header;
}

template <std::size_t N>
bool sumsTo(const std::array<std::uint16_t, N>& frequencies, std::size_t atMost) {
    return std::accumulate(frequencies.begin(), frequencies.end(), std::size_t{0}) <= atMost;
}

bool isSane(const Header& header, std::size_t available) {
    const auto small = [](std::uint16_t value) { return value < kLiteralStates; };
    const auto payload = std::uint64_t{header.literalBytes} + header.matchBytes;
    const Frequencies& frequencies = header.frequencies;
    return header.literalCount <= kMaxLiterals && header.matchCount <= kMaxMatches &&
           payload <= available - header.headerBytes && header.literalBits >= -7 && header.literalBits <= 0 &&
           header.matchBits >= -7 && header.matchBits <= 0 &&
           std::all_of(header.literalStates.begin(), header.literalStates.end(), small) &&
           header.runState < kLengthStates && header.lengthState < kLengthStates &&
           header.distanceState < kDistanceStates && sumsTo(frequencies.literalRuns, kLengthStates) &&
           sumsTo(frequencies.matchLengths, kLengthStates) && sumsTo(frequencies.distances, kDistanceStates) &&
           sumsTo(frequencies.literals, kLiteralStates);
}

} // namespace

std::optional<Header> parseHeader(Bytes bytes) {
    if (bytes.size() < sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    auto header = loadLittle<std::uint32_t>(bytes, 0) == kTables1 ? parsePlainTables(bytes) : parsePackedTables(bytes);
    return header && isSane(*header, bytes.size()) ? header : std::nullopt;
}

} // namespace hdi::lzfse
