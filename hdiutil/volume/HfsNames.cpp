#include "hdiutil/volume/HfsNames.h"

#include "hdiutil/image/Utf8.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace hdi::hfs {

namespace {

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Balinese (U+1B00) has decompositions only since Unicode 5.0, which the format does not follow.
bool staysComposed(char16_t unit) {
    return unit < 0xC0 || (unit >= 0x1B00 && unit < 0x1B80) || (unit >= 0x2000 && unit < 0x3000) ||
           (unit >= 0xD800 && unit < 0xFB00);
}

unsigned combiningClass(char16_t unit) {
    if (unit < 0x300 || (unit >= 0xD800 && unit < 0xE000)) {
        return 0;
    }
    return static_cast<unsigned>(utf8proc_get_property(unit)->combining_class);
}

void appendDecomposed(std::u16string& out, char16_t unit) {
    std::array<utf8proc_int32_t, 16> parts{};
    int lastBoundary = 0;
    const utf8proc_ssize_t count =
        staysComposed(unit) ? 0
                            : utf8proc_decompose_char(unit, parts.data(), static_cast<utf8proc_ssize_t>(parts.size()),
                                                      UTF8PROC_DECOMPOSE, &lastBoundary);
    if (count < 1 || count > static_cast<utf8proc_ssize_t>(parts.size())) {
        out += unit;
        return;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        out += static_cast<char16_t>(parts[i]);
    }
}

void orderMarks(std::u16string& text) {
    for (std::size_t i = 0; i < text.size();) {
        std::size_t end = i;
        while (end < text.size() && combiningClass(text[end]) != 0) {
            ++end;
        }
        if (end - i > 1) {
            std::stable_sort(text.begin() + static_cast<std::ptrdiff_t>(i),
                             text.begin() + static_cast<std::ptrdiff_t>(end),
                             [](char16_t a, char16_t b) { return combiningClass(a) < combiningClass(b); });
        }
        i = end + 1;
    }
}

// The code point at the beginning of `text` and its length; a length of 0 for bytes that are no UTF-8.
std::pair<std::uint32_t, std::size_t> decodeOne(std::string_view text) {
    utf8proc_int32_t point = 0;
    const utf8proc_ssize_t length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                                     static_cast<utf8proc_ssize_t>(text.size()), &point);
    if (length <= 0) {
        return {0, 0};
    }
    return {static_cast<std::uint32_t>(point), static_cast<std::size_t>(length)};
}

// The next folded unit of `text` from `at`, passing over ignored ones; 0 at the end.
char16_t nextFolded(std::u16string_view text, std::size_t& at) {
    char16_t unit = 0;
    while (at < text.size() && unit == 0) {
        unit = foldCase(text[at++]);
    }
    return unit;
}

} // namespace

std::u16string decompose(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (const char16_t unit : text) {
        appendDecomposed(out, unit);
    }
    orderMarks(out);
    return out;
}

std::u16string comparisonKey(std::u16string_view name, bool caseSensitive) {
    const bool plain = std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0xC0; });
    std::u16string key = plain ? std::u16string(name) : decompose(name);
    if (caseSensitive) {
        return key;
    }
    std::u16string folded;
    folded.reserve(key.size());
    std::size_t at = 0;
    for (char16_t unit = nextFolded(key, at); unit != 0; unit = nextFolded(key, at)) {
        folded += unit;
    }
    return folded;
}

int compareNames(std::u16string_view left, std::u16string_view right, bool caseSensitive) {
    if (caseSensitive) {
        return left.compare(right);
    }
    std::size_t leftAt = 0;
    std::size_t rightAt = 0;
    while (true) {
        const char16_t a = nextFolded(left, leftAt);
        const char16_t b = nextFolded(right, rightAt);
        if (a != b) {
            return a < b ? -1 : 1;
        }
        if (a == 0) {
            return 0;
        }
    }
}

std::string toUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit < 0x80) {
            out += static_cast<char>(unit);
        } else if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            appendUtf8(out, 0x10000U + ((unit - 0xD800U) << 10) + (text[++i] - 0xDC00U));
        } else {
            appendUtf8(out, unit); // a surrogate without its other half is no character
        }
    }
    return out;
}

std::u16string toUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const auto [point, length] = decodeOne(text);
        if (length == 0) {
            out += u'\uFFFD';
        } else if (point >= 0x10000) {
            out += static_cast<char16_t>(0xD800U + ((point - 0x10000U) >> 10));
            out += static_cast<char16_t>(0xDC00U + ((point - 0x10000U) & 0x3FFU));
        } else {
            out += static_cast<char16_t>(point);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = decodeOne(text).second;
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

} // namespace hdi::hfs
