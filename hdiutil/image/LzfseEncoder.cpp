#include "hdiutil/image/LzfseEncoder.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/LzfseFormat.h"
#include "hdiutil/image/LzfseMatches.h"

#include <algorithm>
#include <array>
#include <bit>
#include <numeric>

namespace hdi {

namespace {

using Bytes = std::span<const std::byte>;
using Stream = std::vector<std::byte>;

// Bits one after the other, the lowest first; read from the end.
class ForwardBits {
public:
    void push(std::uint64_t value, unsigned bits) {
        accumulated_ |= value << count_;
        count_ += bits;
        for (; count_ >= 8; count_ -= 8, accumulated_ >>= 8U) {
            bytes_.push_back(static_cast<std::byte>(accumulated_));
        }
    }

    // Returns the number of unused bits at the end, as a number from -7 to 0.
    int finish() {
        const int unused = count_ == 0 ? 0 : static_cast<int>(count_) - 8;
        if (count_ > 0) {
            bytes_.push_back(static_cast<std::byte>(accumulated_));
        }
        return unused;
    }

    const Stream& bytes() const { return bytes_; }

private:
    Stream bytes_;
    std::uint64_t accumulated_ = 0;
    unsigned count_ = 0;
};

// Scales counts to frequencies that sum to `States`, none of those that occur below one.
template <std::size_t Symbols>
std::array<std::uint16_t, Symbols> scaled(const std::array<std::uint32_t, Symbols>& counts, std::size_t states) {
    std::array<std::uint16_t, Symbols> frequencies{};
    const std::uint64_t total = std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
    if (total == 0) {
        return frequencies;
    }
    std::size_t sum = 0;
    for (std::size_t i = 0; i < Symbols; ++i) {
        const std::uint64_t share = (counts[i] * std::uint64_t{states} + total / 2) / total;
        frequencies[i] = static_cast<std::uint16_t>(counts[i] == 0 ? 0 : std::max<std::uint64_t>(1, share));
        sum += frequencies[i];
    }
    // The difference goes to the largest: there it matters least.
    for (; sum > states; --sum) {
        --*std::max_element(frequencies.begin(), frequencies.end());
    }
    const auto largest = std::max_element(frequencies.begin(), frequencies.end());
    *largest = static_cast<std::uint16_t>(*largest + (states - sum));
    return frequencies;
}

// The reader's table the other way round: from the state that is to follow and a symbol to the state before.
template <std::size_t Symbols>
class StateCoder {
public:
    StateCoder(const std::array<std::uint16_t, Symbols>& frequencies, unsigned states) : states_(states) {
        unsigned first = 0;
        for (std::size_t i = 0; i < Symbols; ++i) {
            const unsigned frequency = frequencies[i];
            const auto bits = static_cast<unsigned>(std::bit_width(states) - std::bit_width(frequency));
            symbols_[i] = {first, frequency, bits, (2 * states >> bits) - frequency};
            first += frequency;
        }
    }

    void push(std::size_t symbol, unsigned& state, ForwardBits& out) const {
        const Symbol& entry = symbols_[symbol];
        const bool upper = state >= (entry.frequency << entry.bits) - states_;
        const unsigned bits = upper ? entry.bits : entry.bits - 1;
        out.push(state & ((1U << bits) - 1), bits);
        const unsigned index = upper ? ((state + states_) >> bits) - entry.frequency : entry.longer + (state >> bits);
        state = entry.first + index;
    }

private:
    struct Symbol {
        unsigned first = 0;
        unsigned frequency = 0;
        unsigned bits = 0;
        unsigned longer = 0; // of its states, those that take all `bits`
    };

    std::array<Symbol, Symbols> symbols_{};
    unsigned states_;
};

template <std::size_t N>
std::size_t symbolOf(const std::array<lzfse::Value, N>& values, std::uint32_t number) {
    const auto above =
        std::upper_bound(values.begin(), values.end(), number,
                         [](std::uint32_t wanted, const lzfse::Value& value) { return wanted < value.base; });
    return static_cast<std::size_t>(above - values.begin()) - 1;
}

// What goes into one block.
struct Block {
    std::span<const lzfse::Match> matches;
    Stream literals; // a multiple of four
    std::uint32_t rawBytes = 0;
};

// The distances as they are stored: 0 for the one before.
std::vector<std::uint32_t> storedDistances(std::span<const lzfse::Match> matches) {
    std::vector<std::uint32_t> distances;
    std::uint32_t before = 0;
    for (const lzfse::Match& match : matches) {
        distances.push_back(match.distance == before ? 0 : match.distance);
        before = match.distance;
    }
    return distances;
}

lzfse::Frequencies frequenciesOf(const Block& block, std::span<const std::uint32_t> distances) {
    std::array<std::uint32_t, lzfse::kLengthSymbols> runs{};
    std::array<std::uint32_t, lzfse::kLengthSymbols> lengths{};
    std::array<std::uint32_t, lzfse::kDistanceSymbols> far{};
    std::array<std::uint32_t, lzfse::kLiteralSymbols> literals{};
    for (const lzfse::Match& match : block.matches) {
        ++runs.at(symbolOf(lzfse::kLiteralRuns, match.literals));
        ++lengths.at(symbolOf(lzfse::kMatchLengths, match.length));
    }
    for (const std::uint32_t distance : distances) {
        ++far.at(symbolOf(lzfse::kDistances, distance));
    }
    for (const std::byte literal : block.literals) {
        ++literals.at(std::to_integer<std::size_t>(literal));
    }
    return {scaled(runs, lzfse::kLengthStates), scaled(lengths, lzfse::kLengthStates),
            scaled(far, lzfse::kDistanceStates), scaled(literals, lzfse::kLiteralStates)};
}

Stream encodeLiterals(const Block& block, lzfse::Header& header) {
    const StateCoder coder(header.frequencies.literals, lzfse::kLiteralStates);
    std::array<unsigned, 4> states{};
    ForwardBits out;
    for (std::size_t i = block.literals.size(); i > 0; --i) {
        coder.push(std::to_integer<std::size_t>(block.literals[i - 1]), states.at((i - 1) % 4), out);
    }
    std::copy(states.begin(), states.end(), header.literalStates.begin());
    header.literalBits = out.finish();
    header.literalBytes = static_cast<std::uint32_t>(out.bytes().size());
    return out.bytes();
}

template <std::size_t N>
void pushNumber(const StateCoder<N>& coder, const std::array<lzfse::Value, N>& values, std::uint32_t number,
                unsigned& state, ForwardBits& out) {
    const std::size_t symbol = symbolOf(values, number);
    out.push(number - values[symbol].base, values[symbol].bits);
    coder.push(symbol, state, out);
}

Stream encodeMatches(const Block& block, std::span<const std::uint32_t> distances, lzfse::Header& header) {
    const StateCoder runs(header.frequencies.literalRuns, lzfse::kLengthStates);
    const StateCoder lengths(header.frequencies.matchLengths, lzfse::kLengthStates);
    const StateCoder far(header.frequencies.distances, lzfse::kDistanceStates);
    unsigned runState = 0;
    unsigned lengthState = 0;
    unsigned distanceState = 0;
    ForwardBits out;
    // Readers that load whole words expect so many zeros before the first number; some refuse a stream without.
    out.push(0, 32);
    out.push(0, 32);
    for (std::size_t i = block.matches.size(); i > 0; --i) {
        const lzfse::Match& match = block.matches[i - 1];
        pushNumber(far, lzfse::kDistances, distances[i - 1], distanceState, out);
        pushNumber(lengths, lzfse::kMatchLengths, match.length, lengthState, out);
        pushNumber(runs, lzfse::kLiteralRuns, match.literals, runState, out);
    }
    header.runState = static_cast<std::uint16_t>(runState);
    header.lengthState = static_cast<std::uint16_t>(lengthState);
    header.distanceState = static_cast<std::uint16_t>(distanceState);
    header.matchBits = out.finish();
    header.matchBytes = static_cast<std::uint32_t>(out.bytes().size());
    return out.bytes();
}

void pushFrequency(unsigned frequency, ForwardBits& out) {
    if (frequency < 2) {
        out.push(frequency << 1U, 2);
    } else if (frequency < 4) {
        out.push(1U | (frequency - 2) << 2U, 3);
    } else if (frequency < 8) {
        out.push(3U | (frequency - 4) << 3U, 5);
    } else if (frequency < 24) {
        out.push(7U | (frequency - 8) << 4U, 8);
    } else {
        out.push(15U | (frequency - 24) << 4U, 14);
    }
}

Stream packFrequencies(const lzfse::Frequencies& frequencies) {
    ForwardBits out;
    const auto push = [&out](std::uint16_t frequency) { pushFrequency(frequency, out); };
    std::for_each(frequencies.literalRuns.begin(), frequencies.literalRuns.end(), push);
    std::for_each(frequencies.matchLengths.begin(), frequencies.matchLengths.end(), push);
    std::for_each(frequencies.distances.begin(), frequencies.distances.end(), push);
    std::for_each(frequencies.literals.begin(), frequencies.literals.end(), push);
    out.finish();
    return out.bytes();
}

Stream headerBytes(const lzfse::Header& header, std::size_t packedTables) {
    const auto unused = [](int bits) { return static_cast<std::uint64_t>(std::int64_t{bits} + 7); };
    const auto wide = [](auto value) { return static_cast<std::uint64_t>(value); };
    const auto& states = header.literalStates;
    Stream bytes(lzfse::kFixedHeader2);
    storeLittle<std::uint32_t>(bytes, 0, lzfse::kTables2);
    storeLittle<std::uint32_t>(bytes, 4, header.rawBytes);
    storeLittle<std::uint64_t>(bytes, 8,
                               wide(header.literalCount) | wide(header.literalBytes) << 20U |
                                   wide(header.matchCount) << 40U | unused(header.literalBits) << 60U);
    storeLittle<std::uint64_t>(bytes, 16,
                               wide(states[0]) | wide(states[1]) << 10U | wide(states[2]) << 20U |
                                   wide(states[3]) << 30U | wide(header.matchBytes) << 40U |
                                   unused(header.matchBits) << 60U);
    storeLittle<std::uint64_t>(bytes, 24,
                               wide(lzfse::kFixedHeader2 + packedTables) | wide(header.runState) << 32U |
                                   wide(header.lengthState) << 42U | wide(header.distanceState) << 52U);
    return bytes;
}

void append(Stream& out, Bytes bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

Stream encodeBlock(const Block& block) {
    const auto distances = storedDistances(block.matches);
    lzfse::Header header;
    header.rawBytes = block.rawBytes;
    header.literalCount = static_cast<std::uint32_t>(block.literals.size());
    header.matchCount = static_cast<std::uint32_t>(block.matches.size());
    header.frequencies = frequenciesOf(block, distances);
    const Stream literals = encodeLiterals(block, header);
    const Stream matches = encodeMatches(block, distances, header);
    const Stream tables = packFrequencies(header.frequencies);
    Stream out = headerBytes(header, tables.size());
    append(out, tables);
    append(out, literals);
    append(out, matches);
    return out;
}

// As many of the first matches as fit one block.
Block nextBlock(std::span<const lzfse::Match> matches, Bytes raw) {
    Block block;
    std::size_t count = 0;
    for (; count < std::min(matches.size(), lzfse::kMaxMatches); ++count) {
        const lzfse::Match& match = matches[count];
        if (block.literals.size() + match.literals > lzfse::kMaxLiterals) {
            break;
        }
        append(block.literals, raw.subspan(block.rawBytes, match.literals));
        block.rawBytes += match.literals + match.length;
    }
    block.matches = matches.first(count);
    block.literals.resize((block.literals.size() + 3) / 4 * 4);
    return block;
}

} // namespace

std::vector<std::byte> encodeLzfse(Bytes raw) {
    const std::vector<lzfse::Match> matches = lzfse::findMatches(raw);
    std::span<const lzfse::Match> left = matches;
    Stream out;
    while (!left.empty()) {
        const Block block = nextBlock(left, raw);
        // Noise becomes longer by a hundredth at most. As a plain block it would not, but some readers lose their place
        // behind such blocks.
        append(out, encodeBlock(block));
        raw = raw.subspan(block.rawBytes);
        left = left.subspan(block.matches.size());
    }
    out.resize(out.size() + 4);
    storeLittle<std::uint32_t>(out, out.size() - 4, lzfse::kEnd);
    return out;
}

} // namespace hdi
