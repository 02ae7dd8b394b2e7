#include "hdiutil/image/Lzfse.h"

#include "hdiutil/image/BackReferences.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/LzfseHeader.h"
#include "hdiutil/image/Lzvn.h"

#include <algorithm>
#include <bit>
#include <memory>

namespace hdi {

namespace {

using Bytes = std::span<const std::byte>;

// One state of a decoder: the symbol it stands for, and how to reach the next state.
struct LiteralStep {
    std::uint8_t bits = 0;
    std::uint8_t symbol = 0;
    std::int16_t base = 0;
};

// The same where the symbol is a number with extra bits.
struct NumberStep {
    std::uint8_t bits = 0; // of both, the state's above the number's
    std::uint8_t numberBits = 0;
    std::int16_t base = 0;
    std::uint32_t number = 0;
};

struct Tables {
    std::array<NumberStep, lzfse::kLengthStates> runs;
    std::array<NumberStep, lzfse::kLengthStates> lengths;
    std::array<NumberStep, lzfse::kDistanceStates> distances;
    std::array<LiteralStep, lzfse::kLiteralStates> literals;
    // Written four at a time and read in whole words.
    std::array<std::byte, lzfse::kMaxLiterals + 64> decoded;
};

struct Move {
    unsigned bits;
    std::int16_t base;
};

// How state number `i` of the `frequency` states of one symbol goes on: of all states together those that need one bit
// more come first.
Move moveOf(unsigned i, unsigned frequency, unsigned states) {
    const auto bits = static_cast<unsigned>(std::bit_width(states) - std::bit_width(frequency));
    const unsigned longer = (2 * states >> bits) - frequency;
    if (i < longer) {
        return {bits, static_cast<std::int16_t>(((frequency + i) << bits) - states)};
    }
    return {bits - 1, static_cast<std::int16_t>((i - longer) << (bits - 1))};
}

template <std::size_t Symbols, std::size_t States, typename Step, typename Make>
void fillTable(const std::array<std::uint16_t, Symbols>& frequencies, std::array<Step, States>& table, Make&& make) {
    std::size_t at = 0;
    for (std::size_t symbol = 0; symbol < Symbols; ++symbol) {
        for (unsigned i = 0; i < frequencies[symbol]; ++i) {
            table[at++] = make(symbol, moveOf(i, frequencies[symbol], States));
        }
    }
    std::fill(table.begin() + static_cast<std::ptrdiff_t>(at), table.end(), Step{});
}

template <std::size_t Symbols>
auto numberMaker(const std::array<lzfse::Value, Symbols>& values) {
    return [&values](std::size_t symbol, Move move) {
        const lzfse::Value value = values[symbol];
        return NumberStep{static_cast<std::uint8_t>(move.bits + value.bits), value.bits, move.base, value.base};
    };
}

void fillTables(const lzfse::Frequencies& frequencies, Tables& tables) {
    fillTable(frequencies.literalRuns, tables.runs, numberMaker(lzfse::kLiteralRuns));
    fillTable(frequencies.matchLengths, tables.lengths, numberMaker(lzfse::kMatchLengths));
    fillTable(frequencies.distances, tables.distances, numberMaker(lzfse::kDistances));
    fillTable(frequencies.literals, tables.literals, [](std::size_t symbol, Move move) {
        return LiteralStep{static_cast<std::uint8_t>(move.bits), static_cast<std::uint8_t>(symbol), move.base};
    });
}

// A stream of bits that is read from its end.
class BackwardBits {
public:
    // `unused` bits (as a number from -7 to 0) at the very end have to be zero.
    BackwardBits(Bytes bytes, int unused) : begin_(bytes.data()), at_(bytes.data() + bytes.size()) {
        refill();
        const auto skipped = static_cast<unsigned>(-unused);
        good_ = skipped <= count_ && pull(skipped) == 0;
    }

    bool good() const { return good_; }

    // Afterwards there are 56 bits or more, unless the stream is nearly at its beginning.
    void refill() {
        if (at_ - begin_ < 8) {
            refillSlowly();
            return;
        }
        const unsigned bytes = (63 - count_) / 8;
        if (bytes > 0) {
            bits_ = bits_ << 8 * bytes | loadLittle<std::uint64_t>({at_ - 8, 8}, 0) >> (64 - 8 * bytes);
            at_ -= bytes;
            count_ += 8 * bytes;
        }
    }

    unsigned pull(unsigned bits) {
        if (bits > count_) {
            good_ = false;
            return 0;
        }
        count_ -= bits;
        return static_cast<unsigned>(bits_ >> count_) & ((1U << bits) - 1);
    }

private:
    void refillSlowly() {
        for (; count_ <= 55 && at_ != begin_; count_ += 8) {
            bits_ = bits_ << 8U | std::to_integer<std::uint64_t>(*--at_);
        }
    }

    const std::byte* begin_;
    const std::byte* at_;
    std::uint64_t bits_ = 0;
    unsigned count_ = 0;
    bool good_ = true;
};

template <std::size_t States>
unsigned pullNumber(BackwardBits& bits, const std::array<NumberStep, States>& table, unsigned& state) {
    const NumberStep step = table[state];
    const unsigned value = bits.pull(step.bits);
    state = static_cast<unsigned>(step.base) + (value >> step.numberBits);
    return step.number + (value & ((1U << step.numberBits) - 1));
}

bool decodeLiterals(const lzfse::Header& header, Bytes payload, Tables& tables) {
    BackwardBits bits(payload, header.literalBits);
    std::array<unsigned, 4> states{};
    std::copy(header.literalStates.begin(), header.literalStates.end(), states.begin());
    for (std::size_t i = 0; i < header.literalCount; i += states.size()) {
        bits.refill();
        for (std::size_t k = 0; k < states.size(); ++k) {
            const LiteralStep step = tables.literals[states[k]];
            states[k] = static_cast<unsigned>(step.base) + bits.pull(step.bits);
            tables.decoded[i + k] = std::byte{step.symbol};
        }
    }
    return bits.good();
}

bool decodeMatches(const lzfse::Header& header, Bytes payload, const Tables& tables, BackReferences& out) {
    BackwardBits bits(payload, header.matchBits);
    unsigned runState = header.runState;
    unsigned lengthState = header.lengthState;
    unsigned distanceState = header.distanceState;
    std::size_t literal = 0;
    std::size_t distance = 0;
    for (std::size_t i = 0; i < header.matchCount; ++i) {
        bits.refill();
        const std::size_t run = pullNumber(bits, tables.runs, runState);
        const std::size_t length = pullNumber(bits, tables.lengths, lengthState);
        const std::size_t next = pullNumber(bits, tables.distances, distanceState);
        distance = next != 0 ? next : distance;
        if (run > header.literalCount - literal ||
            !out.append(tables.decoded.data() + literal, run, tables.decoded.size() - literal) ||
            (length != 0 && !out.copyBack(length, distance))) {
            return false;
        }
        literal += run;
    }
    return bits.good();
}

bool decodeTablesBlock(const lzfse::Header& header, Bytes payload, BackReferences& out) {
    thread_local const auto tables = std::make_unique<Tables>();
    fillTables(header.frequencies, *tables);
    const std::size_t before = out.written();
    return decodeLiterals(header, payload.first(header.literalBytes), *tables) &&
           decodeMatches(header, payload.subspan(header.literalBytes, header.matchBytes), *tables, out) &&
           out.written() - before == header.rawBytes;
}

// Each of these decodes the block at the beginning of `in` and returns its length; 0 when it is damaged.

std::size_t decodeTables(Bytes in, BackReferences& out) {
    const auto header = lzfse::parseHeader(in);
    if (!header || !decodeTablesBlock(*header, in.subspan(header->headerBytes), out)) {
        return 0;
    }
    return std::size_t{header->headerBytes} + header->literalBytes + header->matchBytes;
}

std::size_t decodePlain(Bytes in, BackReferences& out) {
    constexpr std::size_t kHeader = 8;
    const std::size_t length = in.size() < kHeader ? SIZE_MAX : loadLittle<std::uint32_t>(in, 4);
    if (length == SIZE_MAX || length > in.size() - kHeader || !out.append(in.data() + kHeader, length, 0)) {
        return 0;
    }
    return kHeader + length;
}

std::size_t decodeLzvnBlock(Bytes in, BackReferences& out) {
    constexpr std::size_t kHeader = 12;
    if (in.size() < kHeader) {
        return 0;
    }
    const std::size_t length = loadLittle<std::uint32_t>(in, 8);
    if (length > in.size() - kHeader ||
        !decodeLzvn(in.subspan(kHeader, length), out, loadLittle<std::uint32_t>(in, 4))) {
        return 0;
    }
    return kHeader + length;
}

std::size_t decodeBlock(Bytes in, BackReferences& out) {
    switch (in.size() < 4 ? 0 : loadLittle<std::uint32_t>(in, 0)) {
    case lzfse::kPlain:
        return decodePlain(in, out);
    case lzfse::kTables1:
    case lzfse::kTables2:
        return decodeTables(in, out);
    case lzfse::kLzvn:
        return decodeLzvnBlock(in, out);
    default:
        return 0;
    }
}

} // namespace

bool decodeLzfse(Bytes stored, std::span<std::byte> into) {
    BackReferences out(into);
    while (out.left() > 0) {
        const std::size_t length = decodeBlock(stored, out);
        if (length == 0) {
            return false;
        }
        stored = stored.subspan(length);
    }
    return true;
}

} // namespace hdi
