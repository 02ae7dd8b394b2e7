#include "hdiutil/front/AttachRecord.h"

#include "base/Files.h"
#include "base/Text.h"

#include <algorithm>
#include <iterator>

namespace hdi {
namespace {

constexpr std::string_view kKind = "hdiutil-record 1";

template <typename Number>
bool readNumber(const std::string& text, Number& number) {
    const std::optional<Number> read = base::parseNumber<Number>(text);
    number = read.value_or(number);
    return read.has_value();
}

bool readIdentity(const Fields& f, ImageIdentity& identity) {
    return f.size() == 6 && readNumber(f[1], identity.device) && readNumber(f[2], identity.inode) &&
           readNumber(f[3], identity.size) && readNumber(f[4], identity.modifiedNs) &&
           readNumber(f[5], identity.changedNs);
}

bool readState(const Fields& f, AttachRecord& record) {
    if (f.size() != 3) {
        return false;
    }
    record.method = f[1] == "fuse" ? AttachMethod::kFuse : AttachMethod::kExtracted;
    record.complete = f[2] == "complete";
    return true;
}

bool readProcess(const Fields& f, base::ProcessIdentity& process) {
    return f.size() == 3 && readNumber(f[1], process.pid) && readNumber(f[2], process.started);
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
        return readProcess(f, record.process);
    }
    if (key == "owner") {
        return readProcess(f, record.owners.emplace_back());
    }
    if (key == "boot" || key == "damage") {
        (key == "boot" ? record.boot : record.damage) = f.size() == 2 ? f[1] : "";
        return f.size() == 2;
    }
    return takeRow(f, record.rows);
}

} // namespace

Fields rowFields(const AttachedRow& row) {
    return {
        "row", row.device, row.content, row.shownPath, row.realPath, row.dataPath, row.madeFolder ? "made" : "found"};
}

bool takeRow(const Fields& fields, std::vector<AttachedRow>& rows) {
    if (fields.size() != 7 || fields.front() != "row") {
        return false;
    }
    rows.push_back({fields[1], fields[2], fields[3], fields[4], fields[5], fields[6] == "made"});
    return true;
}

bool AttachRecord::isAbandoned() const {
    return !owners.empty() && std::none_of(owners.begin(), owners.end(),
                                           [](const base::ProcessIdentity& owner) { return owner.isAlive(); });
}

std::string bootId() {
    std::string id = base::readSmallFile("/proc/sys/kernel/random/boot_id").value_or("");
    while (!id.empty() && (id.back() == '\n' || id.back() == ' ')) {
        id.pop_back();
    }
    return id.empty() ? "unknown" : id;
}

std::string serialize(const AttachRecord& record) {
    const ImageIdentity& id = record.identity;
    std::vector<Fields> lines{
        {"disk", std::to_string(record.disk)},
        {"image", record.imagePath},
        {"identity", std::to_string(id.device), std::to_string(id.inode), std::to_string(id.size),
         std::to_string(id.modifiedNs), std::to_string(id.changedNs)},
        {"state", record.method == AttachMethod::kFuse ? "fuse" : "extracted",
         record.complete ? "complete" : "attaching"},
        {"process", std::to_string(record.process.pid), std::to_string(record.process.started)},
        {"boot", record.boot},
        {"damage", record.damage},
    };
    for (const base::ProcessIdentity& owner : record.owners) {
        lines.push_back({"owner", std::to_string(owner.pid), std::to_string(owner.started)});
    }
    std::transform(record.rows.begin(), record.rows.end(), std::back_inserter(lines), rowFields);
    return recordText(kKind, lines);
}

std::optional<AttachRecord> parseRecord(std::string_view text) {
    const std::optional<std::vector<Fields>> lines = readRecordText(kKind, text);
    AttachRecord record;
    const auto isRead = [&record](const Fields& line) { return readLine(line, record); };
    if (!lines || !std::all_of(lines->begin(), lines->end(), isRead) || record.disk <= 0) {
        return std::nullopt;
    }
    return record;
}

} // namespace hdi
