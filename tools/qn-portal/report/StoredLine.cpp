#include "tools/qn-portal/report/StoredLine.h"

#include <nlohmann/json.hpp>

#include <charconv>

namespace portal::report {

namespace {

using Json = nlohmann::json;

constexpr std::string_view kMark = " ci=";

std::string bodyInObject(std::string_view storedLine) {
    const Json object = Json::parse(storedLine, nullptr, false);
    if (object.is_object()) {
        for (const auto& [name, value] : object.items()) {
            if (value.is_string() && value.get_ref<const std::string&>().find(kMark) != std::string::npos) {
                return value.get<std::string>();
            }
        }
    }
    return {};
}

std::string withoutHexEscapes(std::string_view text) {
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        const char* const digits = text.data() + i + 2;
        if (text[i] == '\\' && i + 4 <= text.size() && text[i + 1] == 'x' &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            plain += static_cast<char>(value);
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// From the first time that stands before a mark.
std::string_view fromFirstTime(std::string_view text) {
    const std::size_t mark = text.find(kMark);
    if (mark == std::string_view::npos) {
        return {};
    }
    const std::size_t before = text.find_last_not_of("0123456789-+:.TZ", mark - 1);
    return mark == 0 ? std::string_view() : text.substr(before == std::string_view::npos ? 0 : before + 1);
}

} // namespace

std::string bodyIn(std::string_view storedLine) {
    if (storedLine.find(kMark) == std::string_view::npos) {
        return {};
    }
    if (storedLine.front() == '{') {
        return bodyInObject(storedLine);
    }
    const bool isEscaped = storedLine.find("{\\x22") != std::string_view::npos;
    return std::string(fromFirstTime(isEscaped ? withoutHexEscapes(storedLine) : std::string(storedLine)));
}

} // namespace portal::report
