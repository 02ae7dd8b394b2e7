#include "hdiutil/front/RecordText.h"

#include <algorithm>
#include <charconv>

namespace hdi {
namespace {

constexpr std::string_view kLastLine = "end";

std::string escaped(std::string_view text) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || c == '%') {
            result += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        } else {
            result += c;
        }
    }
    return result;
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const bool coded =
            text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16).ptr == text.data() + i + 3;
        result += coded ? static_cast<char>(byte) : text[i];
        i += coded ? 2 : 0;
    }
    return result;
}

void addLine(std::string& text, const Fields& fields) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
        text += (i == 0 ? "" : "\t") + escaped(fields[i]);
    }
    text += '\n';
}

Fields splitLine(std::string_view line) {
    Fields fields;
    for (std::size_t begin = 0; begin <= line.size();) {
        const std::size_t end = std::min(line.find('\t', begin), line.size());
        fields.push_back(unescaped(line.substr(begin, end - begin)));
        begin = end + 1;
    }
    return fields;
}

// With its line end taken off; absent when it has none.
std::optional<std::string_view> takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

} // namespace

std::string recordText(std::string_view kind, const std::vector<Fields>& lines) {
    std::string text = std::string(kind) + '\n';
    for (const Fields& fields : lines) {
        addLine(text, fields);
    }
    return text + std::string(kLastLine) + '\n';
}

std::optional<std::vector<Fields>> readRecordText(std::string_view kind, std::string_view text) {
    if (takeLine(text) != kind) {
        return std::nullopt;
    }
    std::vector<Fields> lines;
    while (const std::optional<std::string_view> line = takeLine(text)) {
        if (line == kLastLine) {
            return text.empty() ? std::optional(lines) : std::nullopt;
        }
        lines.push_back(splitLine(*line));
    }
    return std::nullopt;
}

} // namespace hdi
