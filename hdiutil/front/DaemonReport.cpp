#include "hdiutil/front/DaemonReport.h"

#include "hdiutil/front/RecordText.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace hdi {
namespace {

using Kind = DaemonReport::Kind;

constexpr std::string_view kKind = "hdiutil-report 1";
constexpr const char* kResult = "result";

struct Name {
    Kind kind;
    std::string_view text;
};

constexpr std::array kNames{Name{Kind::kAttached, "attached"}, Name{Kind::kFound, "found"},
                            Name{Kind::kFailed, "failed"}, Name{Kind::kNoFuse, "no-fuse"}};

std::string nameOf(Kind kind) {
    return std::string(
        std::find_if(kNames.begin(), kNames.end(), [kind](const Name& name) { return name.kind == kind; })->text);
}

bool readResult(const Fields& f, DaemonReport& report) {
    const auto name = std::find_if(kNames.begin(), kNames.end(), [&f](const Name& each) { return each.text == f[1]; });
    if (name == kNames.end()) {
        return false;
    }
    report.kind = name->kind;
    report.message = f[2];
    report.messages = f[3];
    return true;
}

bool readLine(const Fields& f, DaemonReport& report) {
    return f.front() == kResult && f.size() == 4 ? readResult(f, report) : takeRow(f, report.rows);
}

} // namespace

std::string serialize(const DaemonReport& report) {
    std::vector<Fields> lines{{kResult, nameOf(report.kind), report.message, report.messages}};
    std::transform(report.rows.begin(), report.rows.end(), std::back_inserter(lines), rowFields);
    return recordText(kKind, lines);
}

std::optional<DaemonReport> parseReport(std::string_view text) {
    const std::optional<std::vector<Fields>> lines = readRecordText(kKind, text);
    DaemonReport report;
    const auto isRead = [&report](const Fields& line) { return readLine(line, report); };
    if (!lines || lines->empty() || lines->front().front() != kResult ||
        !std::all_of(lines->begin(), lines->end(), isRead)) {
        return std::nullopt;
    }
    return report;
}

} // namespace hdi
