#include "hdiutil/front/MountTable.h"

#include <algorithm>

namespace hdi {
namespace {

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

bool isOctal(std::string_view digits) {
    return std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '7'; });
}

// The kernel writes blank, tab, line end and backslash as three octal digits.
std::string withoutEscapes(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && isOctal(text.substr(i + 1, 3))) {
            const int value = (text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0');
            result += static_cast<char>(value);
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

} // namespace

std::string tableText(const std::vector<AttachedRow>& rows) {
    constexpr std::size_t kDeviceWidth = 20;
    constexpr std::size_t kContentWidth = 31;
    std::string text;
    for (const AttachedRow& row : rows) {
        text +=
            padded(row.device, kDeviceWidth) + "\t" + padded(row.content, kContentWidth) + "\t" + row.shownPath + "\n";
    }
    return text;
}

std::vector<MountEntry> parseMountInfo(std::string_view text) {
    constexpr std::size_t kDeviceField = 2;
    constexpr std::size_t kPathField = 4;
    constexpr std::size_t kFirstOptionalField = 6;
    std::vector<MountEntry> entries;
    for (const std::string_view line : split(text, '\n')) {
        const std::vector<std::string_view> fields = split(line, ' ');
        if (fields.size() <= kFirstOptionalField) {
            continue;
        }
        const auto dash = std::find(fields.begin() + kFirstOptionalField, fields.end(), "-");
        if (dash != fields.end() && dash + 1 != fields.end()) {
            entries.push_back(
                {std::string(fields[kDeviceField]), withoutEscapes(fields[kPathField]), withoutEscapes(*(dash + 1))});
        }
    }
    return entries;
}

std::vector<MountEntry> currentMounts() {
    return parseMountInfo(readSmallFile("/proc/self/mountinfo"));
}

} // namespace hdi
