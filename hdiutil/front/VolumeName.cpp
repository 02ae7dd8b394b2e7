#include "hdiutil/front/VolumeName.h"

#include "base/Text.h"

#include <array>
#include <cstdint>

namespace hdi {
namespace {

constexpr char32_t kBroken = 0xFFFFFFFF;

struct CodePoint {
    char32_t value = kBroken;
    std::size_t bytes = 1;
};

std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

// One code point at the front of `text`, which is not empty. An overlong form or a surrogate is broken.
CodePoint decode(std::string_view text) {
    static constexpr std::array<unsigned char, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    static constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const std::size_t length = sequenceLength(static_cast<unsigned char>(text.front()));
    if (length == 0 || length > text.size()) {
        return {};
    }
    char32_t value = static_cast<unsigned char>(text.front()) & kLeadBits[length];
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80) {
            return {};
        }
        value = (value << 6) | (byte & 0x3F);
    }
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    return value < kSmallest[length] || value > 0x10FFFF || surrogate ? CodePoint{} : CodePoint{value, length};
}

bool isDropped(char32_t value) {
    const bool control = value < 0x20 || (value >= 0x7F && value < 0xA0);
    const bool lineEnd = value == 0x2028 || value == 0x2029;
    return control || lineEnd || value == kBroken;
}

constexpr std::string_view kBlank = " ";

// The longest beginning of at most `limit` bytes that splits no character.
std::string cut(const std::string& text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80) {
        --limit;
    }
    return std::string(base::trimmed(std::string_view(text).substr(0, limit), kBlank));
}

} // namespace

std::string cleanVolumeName(std::string_view stored) {
    std::string kept;
    while (!stored.empty()) {
        const CodePoint point = decode(stored);
        if (!isDropped(point.value)) {
            kept += point.value == U'/' ? std::string(":") : std::string(stored.substr(0, point.bytes));
        }
        stored.remove_prefix(point.bytes);
    }
    const std::string name = cut(std::string(base::trimmed(kept, kBlank)), kLongestName);
    return name.empty() || name == "." || name == ".." ? "Untitled" : name;
}

std::string firstFreeName(const std::string& name, const std::function<bool(const std::string&)>& taken) {
    std::string candidate = name;
    for (std::uint64_t number = 1; taken(candidate); ++number) {
        const std::string suffix = " " + std::to_string(number);
        candidate = cut(name, kLongestName - suffix.size()) + suffix;
    }
    return candidate;
}

} // namespace hdi
