#include "hdiutil/image/Adc.h"

#include <algorithm>

namespace hdi {

namespace {

struct Adc {
    std::span<const std::byte> in;
    std::span<std::byte> out;
    std::size_t read = 0;
    std::size_t written = 0;

    std::size_t left() const { return in.size() - read; }
    unsigned next() { return std::to_integer<unsigned>(in[read++]); }

    bool copyLiterals(std::size_t length) {
        if (length > left() || length > out.size() - written) {
            return false;
        }
        std::copy_n(in.begin() + static_cast<std::ptrdiff_t>(read), length,
                    out.begin() + static_cast<std::ptrdiff_t>(written));
        read += length;
        written += length;
        return true;
    }

    // Byte by byte: the source may reach into what is being written.
    bool copyBack(std::size_t length, std::size_t distance) {
        if (distance > written || length > out.size() - written) {
            return false;
        }
        for (; length > 0; --length, ++written) {
            out[written] = out[written - distance];
        }
        return true;
    }
};

constexpr unsigned kLiterals = 0x80;
constexpr unsigned kLongReference = 0x40;

bool step(Adc& adc) {
    const unsigned code = adc.next();
    if ((code & kLiterals) != 0) {
        return adc.copyLiterals((code & 0x7fU) + 1);
    }
    if ((code & kLongReference) != 0) {
        if (adc.left() < 2) {
            return false;
        }
        const unsigned high = adc.next();
        return adc.copyBack((code & 0x3fU) + 4, (high << 8U | adc.next()) + 1);
    }
    if (adc.left() < 1) {
        return false;
    }
    return adc.copyBack((code >> 2U) + 3, ((code & 3U) << 8U | adc.next()) + 1);
}

} // namespace

bool decodeAdc(std::span<const std::byte> stored, std::span<std::byte> into) {
    Adc adc{stored, into};
    while (adc.written < into.size()) {
        if (adc.left() == 0 || !step(adc)) {
            return false;
        }
    }
    return true;
}

} // namespace hdi
