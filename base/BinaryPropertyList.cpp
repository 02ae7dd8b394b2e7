#include "base/BinaryPropertyList.h"

#include "base/PropertyListParser.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace base {
namespace {

// A binary list: 8 bytes of header, objects, a table of their offsets, 32 bytes of trailer.
class BinaryList {
public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {}

    bool isSafe() {
        if (!readTrailer()) {
            return false;
        }
        known_.assign(objectCount_, Extent{});
        return measure(rootObject_, 0).size <= kMostPropertyListObjects;
    }

private:
    static constexpr std::size_t kTrailerLength = 32;

    std::uint64_t number(std::size_t at, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < width; ++index) {
            value = value << 8 | static_cast<unsigned char>(bytes_[at + index]);
        }
        return value;
    }

    bool readTrailer() {
        if (bytes_.size() < 8 + kTrailerLength) {
            return false;
        }
        const std::size_t trailer = bytes_.size() - kTrailerLength;
        offsetWidth_ = number(trailer + 6, 1);
        referenceWidth_ = number(trailer + 7, 1);
        objectCount_ = number(trailer + 8, 8);
        rootObject_ = number(trailer + 16, 8);
        table_ = number(trailer + 24, 8);
        const bool widthsFit = offsetWidth_ >= 1 && offsetWidth_ <= 8 && referenceWidth_ >= 1 && referenceWidth_ <= 8;
        return widthsFit && table_ <= trailer && objectCount_ <= (trailer - table_) / offsetWidth_ &&
               rootObject_ < objectCount_;
    }

    // What hangs below an object, itself included.
    struct Extent {
        std::size_t size = 0; // objects; 0: not measured yet
        std::size_t height = 0;
    };
    static constexpr Extent kRefused{kMostPropertyListObjects + 1, 0};

    // kRefused when a bound is broken. Each object is looked into once, however often it is shared; a cycle ends at the
    // bound of depth.
    Extent measure(std::uint64_t object, std::size_t depth) {
        if (object >= objectCount_ || depth + known_[object].height > kDeepestPropertyList) {
            return kRefused;
        }
        if (known_[object].size != 0) {
            return known_[object];
        }
        const std::uint64_t at = number(table_ + object * offsetWidth_, offsetWidth_);
        if (at >= table_) {
            return kRefused;
        }
        const unsigned marker = static_cast<unsigned char>(bytes_[at]);
        const unsigned kind = marker >> 4;
        if (kind == 0xA || kind == 0xC || kind == 0xD) {
            known_[object] = measureContainer(at, marker, depth);
        } else {
            known_[object] = (kind == 5 || kind == 6) && !isSafeText(at, marker) ? kRefused : Extent{1, 0};
        }
        return known_[object];
    }

    // Where an object's contents begin, and how many elements they have.
    struct Contents {
        std::uint64_t first = 0;
        std::uint64_t count = 0;
    };

    // Absent when the elements, `width` bytes each, do not lie before the table.
    std::optional<Contents> contentsOf(std::uint64_t at, unsigned marker, std::uint64_t width) const {
        Contents contents{at + 1, marker & 0xFU};
        if (contents.count == 0xF) {
            if (contents.first >= table_) {
                return std::nullopt;
            }
            const std::size_t size = std::size_t{1} << (static_cast<unsigned char>(bytes_[contents.first]) & 0x3U);
            if (contents.first + 1 + size > table_) {
                return std::nullopt;
            }
            contents.count = number(contents.first + 1, size);
            contents.first += 1 + size;
        }
        const bool fits = contents.count <= kLargestPropertyList && contents.first + contents.count * width <= table_;
        return fits ? std::optional(contents) : std::nullopt;
    }

    // The library takes a NUL inside a text for a broken promise of its own, and aborts.
    bool isSafeText(std::uint64_t at, unsigned marker) const {
        const std::uint64_t width = (marker >> 4) == 6 ? 2 : 1;
        const std::optional<Contents> text = contentsOf(at, marker, width);
        for (std::uint64_t unit = 0; text && unit < text->count; ++unit) {
            if (number(text->first + unit * width, width) == 0) {
                return false;
            }
        }
        return text.has_value();
    }

    Extent measureContainer(std::uint64_t at, unsigned marker, std::size_t depth) {
        const bool isDictionary = (marker >> 4) == 0xD; // keys, then values
        const std::optional<Contents> contents = contentsOf(at, marker, referenceWidth_ * (isDictionary ? 2 : 1));
        if (!contents || contents->count > kMostPropertyListObjects) {
            return kRefused;
        }
        const std::uint64_t first = contents->first;
        const std::uint64_t count = contents->count * (isDictionary ? 2 : 1);
        Extent total{1, 0};
        for (std::uint64_t index = 0; index < count && total.size <= kMostPropertyListObjects; ++index) {
            const Extent below = measure(number(first + index * referenceWidth_, referenceWidth_), depth + 1);
            total.size += below.size;
            total.height = std::max(total.height, below.height + 1);
        }
        return total.size > kMostPropertyListObjects ? kRefused : total;
    }

    std::string_view bytes_;
    std::uint64_t offsetWidth_ = 0;
    std::uint64_t referenceWidth_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t rootObject_ = 0;
    std::uint64_t table_ = 0;
    std::vector<Extent> known_;
};

} // namespace

bool isSafeBinaryPropertyList(std::string_view bytes) {
    return BinaryList(bytes).isSafe();
}

} // namespace base
