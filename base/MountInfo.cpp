#include "base/MountInfo.h"

#include "base/Text.h"

#include <algorithm>

namespace base {
namespace {

bool isOctal(char digit) {
    return digit >= '0' && digit <= '7';
}

// What stands for a byte: a backslash and three digits up to 377.
bool isEscape(std::string_view text) {
    return text.size() == 4 && text[0] == '\\' && text[1] <= '3' && isOctal(text[1]) && isOctal(text[2]) &&
           isOctal(text[3]);
}

} // namespace

std::string withoutOctalEscapes(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isEscape(text.substr(at, 4))) {
            plain += static_cast<char>((text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 + (text[at + 3] - '0'));
            at += 3;
        } else {
            plain += text[at];
        }
    }
    return plain;
}

std::vector<MountEntry> parseMountInfo(std::string_view text) {
    constexpr std::size_t kDevice = 2; // behind the identifiers of mount and parent
    constexpr std::size_t kPath = 4;
    constexpr std::size_t kFirstOptional = 6; // as many as there are, up to a dash
    std::vector<MountEntry> entries;
    for (const std::string_view line : split(text, '\n')) {
        const std::vector<std::string_view> fields = split(line, ' ');
        if (fields.size() <= kFirstOptional || !fields[kPath].starts_with('/')) {
            continue;
        }
        const auto dash = std::find(fields.begin() + kFirstOptional, fields.end(), "-");
        if (dash != fields.end() && dash + 1 != fields.end()) {
            entries.push_back(
                {std::string(fields[kDevice]), withoutOctalEscapes(fields[kPath]), withoutOctalEscapes(*(dash + 1))});
        }
    }
    return entries;
}

} // namespace base
