#include "hdiutil/front/DaemonReport.h"

#include <charconv>

namespace hdi {
namespace {

// Each text with its length in front and a colon between, so that it may hold anything.
void add(std::string& bytes, const std::string& text) {
    bytes += std::to_string(text.size()) + ":" + text;
}

std::optional<std::string> take(std::string_view& bytes) {
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), length);
    if (error != std::errc() || end == bytes.data() + bytes.size() || *end != ':') {
        return std::nullopt;
    }
    bytes.remove_prefix(static_cast<std::size_t>(end - bytes.data()) + 1);
    if (length > bytes.size()) {
        return std::nullopt;
    }
    std::string text(bytes.substr(0, length));
    bytes.remove_prefix(length);
    return text;
}

bool takeRow(std::string_view& bytes, std::vector<AttachedRow>& rows) {
    AttachedRow row;
    std::string made;
    for (std::string* field : {&row.device, &row.content, &row.shownPath, &row.realPath, &row.dataPath, &made}) {
        std::optional<std::string> text = take(bytes);
        if (!text) {
            return false;
        }
        *field = std::move(*text);
    }
    row.madeFolder = made == "made";
    rows.push_back(std::move(row));
    return true;
}

} // namespace

std::string serialize(const DaemonReport& report) {
    std::string bytes;
    add(bytes, std::to_string(static_cast<int>(report.kind)));
    add(bytes, report.message);
    add(bytes, report.messages);
    for (const AttachedRow& row : report.rows) {
        for (const std::string& field : {row.device, row.content, row.shownPath, row.realPath, row.dataPath,
                                         std::string(row.madeFolder ? "made" : "found")}) {
            add(bytes, field);
        }
    }
    return bytes + ".";
}

std::optional<DaemonReport> parseReport(std::string_view bytes) {
    DaemonReport report;
    const std::optional<std::string> kind = take(bytes);
    std::optional<std::string> message = take(bytes);
    std::optional<std::string> messages = take(bytes);
    if (!kind || !message || !messages || kind->size() != 1 || kind->front() < '0' || kind->front() > '2') {
        return std::nullopt;
    }
    report.kind = static_cast<DaemonReport::Kind>(kind->front() - '0');
    report.message = std::move(*message);
    report.messages = std::move(*messages);
    while (bytes != ".") {
        if (!takeRow(bytes, report.rows)) {
            return std::nullopt;
        }
    }
    return report;
}

} // namespace hdi
