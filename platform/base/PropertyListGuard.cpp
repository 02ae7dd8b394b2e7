#include "platform/base/PropertyListGuard.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace PropertyListGuard {

namespace {

// Where the construct that begins at `at` ends: behind `closing`, or npos when it never does.
std::size_t behind(std::string_view text, std::size_t at, std::string_view closing) {
    const std::size_t found = text.find(closing, at);
    return found == std::string_view::npos ? found : found + closing.size();
}

// The end of anything in angle brackets that is no element.
std::size_t behindDeclaration(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("<!--")) {
        return behind(text, at + 4, "-->");
    }
    if (rest.starts_with("<![CDATA[")) {
        return behind(text, at, "]]>");
    }
    if (rest.starts_with("<?")) {
        return behind(text, at, "?>");
    }
    // A document type may hold declarations of its own in brackets.
    const std::size_t end = behind(text, at, ">");
    const std::size_t bracket = text.find('[', at);
    return bracket < end ? behind(text, behind(text, bracket, "]"), ">") : end;
}

bool isContainer(std::string_view tagName) {
    return tagName == "dict" || tagName == "array";
}

// "&#0;" in any of its spellings.
bool holdsNumberedNul(std::string_view text) {
    for (std::size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 2)) {
        std::size_t digit = at + 2;
        if (digit < text.size() && (text[digit] == 'x' || text[digit] == 'X')) {
            ++digit;
        }
        const std::size_t end = text.find_first_not_of('0', digit);
        if (end == std::string_view::npos || text[end] == ';') {
            return true;
        }
    }
    return false;
}

bool isSafeXml(std::string_view text) {
    if (text.find('\0') != std::string_view::npos || holdsNumberedNul(text)) {
        return false;
    }
    std::size_t depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
        if (at + 1 < text.size() && (text[at + 1] == '!' || text[at + 1] == '?')) {
            at = behindDeclaration(text, at);
            if (at == std::string_view::npos) {
                return false;
            }
            continue;
        }
        const std::size_t end = text.find('>', at);
        if (end == std::string_view::npos) {
            return true; // cut short: no container is opened any more
        }
        const std::string_view tag = text.substr(at + 1, end - at - 1);
        const bool closes = tag.starts_with('/');
        const std::string_view name = tag.substr(closes ? 1 : 0, tag.find_first_of(" \t\r\n/", 1) - (closes ? 1 : 0));
        if (isContainer(name) && closes && depth > 0) {
            --depth;
        } else if (isContainer(name) && !closes && !tag.ends_with('/') && ++depth > kDeepestNesting) {
            return false;
        }
        at = end;
    }
    return true;
}

// A binary list: 8 bytes of header, objects, a table of their offsets, 32 bytes of trailer.
class BinaryList {
public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {}

    bool isSafe() {
        if (!readTrailer()) {
            return false;
        }
        known_.assign(objectCount_, Extent{});
        return measure(rootObject_, 0).size <= kMostObjects;
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
    static constexpr Extent kRefused{kMostObjects + 1, 0};

    // kRefused when a bound is broken. Each object is looked into once, however often it is shared; a cycle ends at the
    // bound of depth.
    Extent measure(std::uint64_t object, std::size_t depth) {
        if (object >= objectCount_ || depth + known_[object].height > kDeepestNesting) {
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
        const bool fits = contents.count <= kLargestInput && contents.first + contents.count * width <= table_;
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
        if (!contents || contents->count > kMostObjects) {
            return kRefused;
        }
        const std::uint64_t first = contents->first;
        const std::uint64_t count = contents->count * (isDictionary ? 2 : 1);
        Extent total{1, 0};
        for (std::uint64_t index = 0; index < count && total.size <= kMostObjects; ++index) {
            const Extent below = measure(number(first + index * referenceWidth_, referenceWidth_), depth + 1);
            total.size += below.size;
            total.height = std::max(total.height, below.height + 1);
        }
        return total.size > kMostObjects ? kRefused : total;
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

bool isSafe(std::string_view bytes) {
    if (bytes.size() > kLargestInput) {
        return false;
    }
    return bytes.starts_with("bplist") ? BinaryList(bytes).isSafe() : isSafeXml(bytes);
}

} // namespace PropertyListGuard
