#include "hdiutil/front/AttachRecord.h"

#include <algorithm>
#include <charconv>

namespace hdi {
namespace {

constexpr std::string_view kFirstLine = "hdiutil-record 1";
constexpr std::string_view kLastLine = "end"; // a record cut short by a full disk is none

using Fields = std::vector<std::string>;

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

template <typename Number>
bool readNumber(const std::string& text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

bool readIdentity(const Fields& f, ImageIdentity& identity) {
    return f.size() == 6 && readNumber(f[1], identity.device) && readNumber(f[2], identity.inode) &&
           readNumber(f[3], identity.size) && readNumber(f[4], identity.modifiedNs) &&
           readNumber(f[5], identity.changedNs);
}

bool readRow(const Fields& f, AttachRecord& record) {
    if (f.size() != 7) {
        return false;
    }
    record.rows.push_back({f[1], f[2], f[3], f[4], f[5], f[6] == "made"});
    return true;
}

bool readState(const Fields& f, AttachRecord& record) {
    if (f.size() != 3) {
        return false;
    }
    record.method = f[1] == "fuse" ? AttachMethod::kFuse : AttachMethod::kExtracted;
    record.complete = f[2] == "complete";
    return true;
}

bool readLine(const Fields& f, AttachRecord& record) {
    const std::string& key = f.front();
    if (key == "disk") {
        return f.size() == 2 && readNumber(f[1], record.disk) && record.disk > 0;
    }
    if (key == "image") {
        record.imagePath = f.size() == 2 ? f[1] : "";
        return f.size() == 2;
    }
    if (key == "identity") {
        return readIdentity(f, record.identity);
    }
    if (key == "state") {
        return readState(f, record);
    }
    if (key == "process") {
        return f.size() == 3 && readNumber(f[1], record.process.pid) && readNumber(f[2], record.process.started);
    }
    if (key == "boot" || key == "damage") {
        (key == "boot" ? record.boot : record.damage) = f.size() == 2 ? f[1] : "";
        return f.size() == 2;
    }
    return key == "row" && readRow(f, record);
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

} // namespace

std::string serialize(const AttachRecord& record) {
    const ImageIdentity& id = record.identity;
    std::string text;
    addLine(text, {std::string(kFirstLine)});
    addLine(text, {"disk", std::to_string(record.disk)});
    addLine(text, {"image", record.imagePath});
    addLine(text, {"identity", std::to_string(id.device), std::to_string(id.inode), std::to_string(id.size),
                   std::to_string(id.modifiedNs), std::to_string(id.changedNs)});
    addLine(text, {"state", record.method == AttachMethod::kFuse ? "fuse" : "extracted",
                   record.complete ? "complete" : "attaching"});
    addLine(text, {"process", std::to_string(record.process.pid), std::to_string(record.process.started)});
    addLine(text, {"boot", record.boot});
    addLine(text, {"damage", record.damage});
    for (const AttachedRow& row : record.rows) {
        addLine(text, {"row", row.device, row.content, row.shownPath, row.realPath, row.dataPath,
                       row.madeFolder ? "made" : "found"});
    }
    addLine(text, {std::string(kLastLine)});
    return text;
}

std::optional<AttachRecord> parseRecord(std::string_view text) {
    AttachRecord record;
    std::size_t lineNumber = 0;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        if (line == kLastLine) {
            return text.empty() && record.disk > 0 ? std::optional(record) : std::nullopt;
        }
        if (lineNumber++ == 0 ? line != kFirstLine : !readLine(splitLine(line), record)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace hdi
