#include "tools/qn-portal/log/Bundle.h"

#include "tools/qn-portal/log/Archive.h"
#include "tools/qn-portal/log/LogError.h"
#include "tools/qn-portal/log/PersonalData.h"
#include "tools/qn-portal/log/Printer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace portal::eventlog {

namespace {

// An entry whose texts are its own.
class CleanEntry {
public:
    CleanEntry(const Entry& entry, PersonalData& personal)
        : entry_(entry), message_(personal.cleaned(entry.message)),
          identifier_(personal.cleanedIdentifier(entry.identifier)) {
        entry_.message = message_;
        entry_.identifier = identifier_;
    }
    CleanEntry(const CleanEntry&) = delete;
    CleanEntry& operator=(const CleanEntry&) = delete;

    const Entry& entry() const { return entry_; }

    // As the logger would have written it, so that the log in the bundle can be read like any other.
    void appendLine(Output& output) const {
        if (entry_.kind == Entry::Kind::kForeign) {
            output << entry_.message << "\r\n";
            return;
        }
        const bool isPlain = entry_.kind == Entry::Kind::kPlain;
        output << "{ \"time\": \"" << entry_.time << "\",\"ci\": \"" << entry_.identifier << "\", \"trace\": \""
               << entry_.level << "\", \"message\":" << (isPlain ? "\" " : " ") << entry_.message;
        if (entry_.isCut) {
            output << "\r\n";
            return;
        }
        output << (isPlain ? "\"" : "");
        for (const Field& field : entry_.fields) {
            output << ", \"" << field.name << "\": \"" << field.value << '"';
        }
        output << " }\r\n";
    }

private:
    Entry entry_;
    std::string message_;
    std::string identifier_;
};

using Write = Output::Write;

void writeLog(LogFile& file, PersonalData& personal, const Write& write) {
    Output output(write);
    file.rewind();
    file.readAll([&](const Entry& entry) {
        CleanEntry(entry, personal).appendLine(output);
        output.flushWhenFull();
    });
    output.flush();
}

void writeTimeline(LogFile& file, PersonalData& personal, const Write& write) {
    Output output(write);
    const auto printer = textPrinter(output);
    RunSplitter splitter(*printer);
    file.rewind();
    file.readAll([&](const Entry& entry) { splitter.add(CleanEntry(entry, personal).entry()); });
    splitter.finish();
    output.flush();
}

// A log must not steer a terminal.
std::string shown(std::string value) {
    std::ranges::replace_if(
        value, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }, '?');
    return value;
}

std::string listOf(const PersonalData& personal, bool withValues) {
    std::string list = "Taken out of the bundle:\n";
    bool isEmpty = true;
    for (const Finding& finding : personal.findings()) {
        if (finding.count == 0) {
            continue;
        }
        isEmpty = false;
        list += "  " + std::string(finding.kind) + ", " + std::to_string(finding.count) + " times\n";
        for (const std::string& value : finding.values) {
            list += withValues ? "    " + shown(value) + "\n" : "";
        }
    }
    return isEmpty ? list + "  nothing: nothing of the kind was found\n" : list;
}

// Before anything is written.
void print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        throw LogError(std::string("the list cannot be printed: ") + std::strerror(errno));
    }
}

} // namespace

void writeBundle(LogFile& file, const std::string& path) {
    PersonalData personal;
    file.rewind();
    file.readAll([&](const Entry& entry) { personal.learn(entry.message); });

    std::int64_t timelineSize = 0;
    std::int64_t logSize = 0;
    writeTimeline(file, personal,
                  [&](std::string_view text) { timelineSize += static_cast<std::int64_t>(text.size()); });
    personal.forget();
    writeLog(file, personal, [&](std::string_view text) { logSize += static_cast<std::int64_t>(text.size()); });
    const std::string removed = listOf(personal, false);
    print(listOf(personal, true) + "Everything else stays as it was logged.\nWriting " + path +
          ": install.log, timeline.txt, removed.txt\n");

    Archive archive(path);
    archive.begin("install.log", logSize);
    writeLog(file, personal, [&](std::string_view text) { archive.add(text); });
    archive.begin("timeline.txt", timelineSize);
    writeTimeline(file, personal, [&](std::string_view text) { archive.add(text); });
    archive.begin("removed.txt", static_cast<std::int64_t>(removed.size()));
    archive.add(removed);
    archive.finish();
}

} // namespace portal::eventlog
