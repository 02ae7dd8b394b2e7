#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace base {

// The parts between separators, empty ones included; none after a separator at the end.
inline std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find(separator), text.size());
        parts.push_back(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return parts;
}

// Without the blanks at both ends.
inline std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\r\n") {
    const std::size_t begin = std::min(text.find_first_not_of(blanks), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

// The whole text as a number without blanks; absent when it is none or does not fit.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text, int radix = 10) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, radix);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

} // namespace base
