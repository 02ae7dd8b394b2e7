#include "hdiutil/image/Lzvn.h"

namespace hdi {

namespace {

constexpr unsigned kEndMark = 0x06;
constexpr unsigned kNothing1 = 0x0e;
constexpr unsigned kNothing2 = 0x16;

enum class Step { kGoOn, kEnd, kDamaged };

class Decoder {
public:
    Decoder(std::span<const std::byte> payload, BackReferences& out) : in_(payload), out_(out) {}

    Step step() {
        if (in_.empty()) {
            return Step::kDamaged;
        }
        const unsigned code = at(0);
        switch (code >> 4U) {
        case 0x7:
        case 0xd:
            return Step::kDamaged;
        case 0xa:
        case 0xb:
            return mediumDistance(code);
        case 0xe:
            return literalsOnly(code & 15U);
        case 0xf:
            return matchOnly(code & 15U);
        default:
            return literalsAndMatch(code);
        }
    }

private:
    unsigned at(std::size_t index) const { return std::to_integer<unsigned>(in_[index]); }

    // Skips the code's own bytes, copies the literals behind them, then the match.
    Step emit(std::size_t codeBytes, std::size_t literals, std::size_t length, std::size_t distance) {
        if (in_.size() - codeBytes < literals ||
            !out_.append(in_.data() + codeBytes, literals, in_.size() - codeBytes)) {
            return Step::kDamaged;
        }
        in_ = in_.subspan(codeBytes + literals);
        distance_ = distance;
        return length == 0 || out_.copyBack(length, distance) ? Step::kGoOn : Step::kDamaged;
    }

    // LLMMMDDD DDDDDDDD, LLMMM111 and 16 bits of distance, or LLMMM110 with the distance of the match before.
    Step literalsAndMatch(unsigned code) {
        const std::size_t literals = code >> 6U;
        const std::size_t length = (code >> 3U & 7U) + 3;
        if ((code & 7U) == 6) {
            return literals == 0 ? special(code) : emit(1, literals, length, distance_);
        }
        if ((code & 7U) == 7) {
            return in_.size() < 3 ? Step::kDamaged : emit(3, literals, length, at(1) | at(2) << 8U);
        }
        return in_.size() < 2 ? Step::kDamaged : emit(2, literals, length, (code & 7U) << 8U | at(1));
    }

    Step special(unsigned code) {
        if (code == kEndMark) {
            return Step::kEnd;
        }
        if (code != kNothing1 && code != kNothing2) {
            return Step::kDamaged;
        }
        in_ = in_.subspan(1);
        return Step::kGoOn;
    }

    // 101LLMMM DDDDDDMM DDDDDDDD
    Step mediumDistance(unsigned code) {
        if (in_.size() < 3) {
            return Step::kDamaged;
        }
        const std::size_t length = ((code & 7U) << 2U | (at(1) & 3U)) + 3;
        return emit(3, code >> 3U & 3U, length, at(1) >> 2U | at(2) << 6U);
    }

    Step literalsOnly(unsigned low) {
        if (low != 0) {
            return emit(1, low, 0, distance_);
        }
        return in_.size() < 2 ? Step::kDamaged : emit(2, at(1) + 16, 0, distance_);
    }

    Step matchOnly(unsigned low) {
        if (low != 0) {
            return emit(1, 0, low, distance_);
        }
        return in_.size() < 2 ? Step::kDamaged : emit(2, 0, at(1) + 16, distance_);
    }

    std::span<const std::byte> in_;
    BackReferences& out_;
    std::size_t distance_ = 0;
};

} // namespace

bool decodeLzvn(std::span<const std::byte> payload, BackReferences& out, std::size_t rawBytes) {
    const std::size_t before = out.written();
    Decoder decoder(payload, out);
    Step step = Step::kGoOn;
    while (step == Step::kGoOn) {
        step = decoder.step();
    }
    return step == Step::kEnd && out.written() - before == rawBytes;
}

} // namespace hdi
