#include "platform/base/PropertyListGuard.h"

#include <algorithm>
#include <cstdint>
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
    if (rest.starts_with("<!--"))
        return behind(text, at + 4, "-->");
    if (rest.starts_with("<![CDATA["))
        return behind(text, at, "]]>");
    if (rest.starts_with("<?"))
        return behind(text, at, "?>");
    // A document type may hold declarations of its own in brackets.
    const std::size_t end = behind(text, at, ">");
    const std::size_t bracket = text.find('[', at);
    return bracket < end ? behind(text, behind(text, bracket, "]"), ">") : end;
}

bool isContainer(std::string_view tagName) {
    return tagName == "dict" || tagName == "array";
}

bool isSafeXml(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
        if (at + 1 < text.size() && (text[at + 1] == '!' || text[at + 1] == '?')) {
            at = behindDeclaration(text, at);
            if (at == std::string_view::npos)
                return false;
            continue;
        }
        const std::size_t end = text.find('>', at);
        if (end == std::string_view::npos)
            return true; // cut short: no container is opened any more
        const std::string_view tag = text.substr(at + 1, end - at - 1);
        const bool closes = tag.starts_with('/');
        const std::string_view name = tag.substr(closes ? 1 : 0, tag.find_first_of(" \t\r\n/", 1) - (closes ? 1 : 0));
        if (isContainer(name) && closes && depth > 0)
            --depth;
        else if (isContainer(name) && !closes && !tag.ends_with('/') && ++depth > kDeepestNesting)
            return false;
        at = end;
    }
    return true;
}

// A binary list: 8 bytes of header, objects, a table of their offsets, 32 bytes of trailer.
class BinaryList {
public:
    explicit BinaryList(std::string_view bytes) : bytes_(bytes) {}

    bool isSafe() {
        if (!readTrailer())
            return false;
        known_.assign(objectCount_, Extent{});
        return measure(rootObject_, 0).size <= kMostObjects;
    }

private:
    static constexpr std::size_t kTrailerLength = 32;

    std::uint64_t number(std::size_t at, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < width; ++index)
            value = value << 8 | static_cast<unsigned char>(bytes_[at + index]);
        return value;
    }

    bool readTrailer() {
        if (bytes_.size() < 8 + kTrailerLength)
            return false;
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
        if (object >= objectCount_ || depth + known_[object].height > kDeepestNesting)
            return kRefused;
        if (known_[object].size != 0)
            return known_[object];
        const std::uint64_t at = number(table_ + object * offsetWidth_, offsetWidth_);
        if (at >= table_)
            return kRefused;
        const unsigned marker = static_cast<unsigned char>(bytes_[at]);
        const unsigned kind = marker >> 4;
        const bool holdsOthers = kind == 0xA || kind == 0xC || kind == 0xD;
        known_[object] = holdsOthers ? measureContainer(at, marker, depth) : Extent{1, 0};
        return known_[object];
    }

    Extent measureContainer(std::uint64_t at, unsigned marker, std::size_t depth) {
        std::uint64_t count = marker & 0xF;
        std::uint64_t first = at + 1;
        if (count == 0xF) {
            if (first >= table_)
                return kRefused;
            const std::size_t width = std::size_t{1} << (static_cast<unsigned char>(bytes_[first]) & 0x3U);
            if (first + 1 + width > table_)
                return kRefused;
            count = number(first + 1, width);
            first += 1 + width;
        }
        if (count > kMostObjects)
            return kRefused;
        if ((marker >> 4) == 0xD)
            count *= 2; // keys, then values
        if (first + count * referenceWidth_ > table_)
            return kRefused;
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
    if (bytes.size() > kLargestInput)
        return false;
    return bytes.starts_with("bplist") ? BinaryList(bytes).isSafe() : isSafeXml(bytes);
}

} // namespace PropertyListGuard
