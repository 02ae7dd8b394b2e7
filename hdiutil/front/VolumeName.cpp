#include "hdiutil/front/VolumeName.h"

#include "base/Text.h"

#include <utf8proc.h>

#include <cstddef>
#include <cstdint>

namespace hdi {
namespace {

bool isDropped(utf8proc_int32_t value) {
    const bool control = value < 0x20 || (value >= 0x7F && value < 0xA0);
    const bool lineEnd = value == 0x2028 || value == 0x2029;
    return control || lineEnd;
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
        utf8proc_int32_t value = 0;
        const utf8proc_ssize_t length = // below 1 for a byte that begins no character
            utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(stored.data()),
                             static_cast<utf8proc_ssize_t>(stored.size()), &value);
        const std::size_t taken = length > 0 ? static_cast<std::size_t>(length) : 1;
        if (length > 0 && !isDropped(value)) {
            kept += value == U'/' ? std::string_view(":") : stored.substr(0, taken);
        }
        stored.remove_prefix(taken);
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
