#include "hdiutil/volume/SafeNames.h"

#include <utf8proc.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <memory>

namespace hdi {

namespace {

constexpr std::size_t kMaxNameBytes = 255;
constexpr std::size_t kMaxExtensionBytes = 16;

std::string hexadecimal(std::uint64_t number) {
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16);
    std::string text(digits.data(), end.ptr);
    for (char& digit : text) {
        if (digit >= 'a') {
            digit = static_cast<char>(digit - 'a' + 'A');
        }
    }
    return text;
}

// The longest beginning of at most `limit` bytes that does not end inside a character.
std::string_view cutBetweenCharacters(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80U) {
        --limit;
    }
    return text.substr(0, limit);
}

// In composed form; as it is when that is not to be had.
std::string composed(const std::string& text) {
    utf8proc_uint8_t* result = nullptr;
    const utf8proc_ssize_t length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()),
                     &result, static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
    return length < 0 ? text : std::string(reinterpret_cast<const char*>(result), static_cast<std::size_t>(length));
}

} // namespace

std::string safeName(std::string_view stored, std::uint64_t number) {
    std::string name;
    name.reserve(stored.size());
    for (const char character : stored) {
        if (character == '\0') {
            name += "\xE2\x90\x80"; // U+2400
        } else {
            name += character == '/' ? ':' : character;
        }
    }
    if (name.size() > kMaxNameBytes) {
        name = composed(name);
    }
    const bool isFit = !name.empty() && name != "." && name != ".." && name.size() <= kMaxNameBytes;
    return isFit ? name : withNumber(name, number);
}

std::string withNumber(std::string_view name, std::uint64_t number) {
    const std::size_t dot = name.rfind('.');
    const bool hasExtension =
        dot != std::string_view::npos && dot != 0 && dot + 1 < name.size() && name.size() - dot <= kMaxExtensionBytes;
    const std::string_view extension = hasExtension ? name.substr(dot) : std::string_view();
    const std::string suffix = "#" + hexadecimal(number);
    const std::string_view stem = name.substr(0, name.size() - extension.size());
    return std::string(cutBetweenCharacters(stem, kMaxNameBytes - suffix.size() - extension.size())) + suffix +
           std::string(extension);
}

} // namespace hdi
