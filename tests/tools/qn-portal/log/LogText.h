#pragma once

#include "tools/qn-portal/log/EntryReader.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace test {

// What is kept of an entry beyond the reader.
struct ReadEntry {
    portal::eventlog::Entry::Kind kind;
    bool isCut;
    std::string time, identifier, level, message;
    std::vector<std::pair<std::string, std::string>> fields;
};

// Reads a log that arrives in blocks of `block` bytes.
inline std::vector<ReadEntry> entriesOf(std::string_view log, std::size_t block = 1U << 20U) {
    std::vector<ReadEntry> entries;
    portal::eventlog::EntryReader reader([&](const portal::eventlog::Entry& entry) {
        ReadEntry read{entry.kind,
                       entry.isCut,
                       std::string(entry.time),
                       std::string(entry.identifier),
                       std::string(entry.level),
                       std::string(entry.message),
                       {}};
        for (const auto& [name, value] : entry.fields) {
            read.fields.emplace_back(name, value);
        }
        entries.push_back(std::move(read));
    });
    while (!log.empty()) {
        const auto room = reader.room();
        const std::size_t size = std::min({block, log.size(), room.size()});
        std::memcpy(room.data(), log.data(), size);
        reader.filled(size);
        log.remove_prefix(size);
    }
    reader.finish();
    return entries;
}

// The two ends of a line as the installer writes it at a second of a minute.
inline std::string head(const std::string& second, const std::string& level = "DEBUG",
                        const std::string& identifier = "abc") {
    return "{ \"time\": \"2026-01-02T03:04:" + second + "Z\",\"ci\": \"" + identifier + "\", \"trace\": \"" + level +
           "\", \"message\":";
}
inline const std::string kTail = ", \"lang\": \"en\", \"country\": \"GB\", \"locale\": \"en-GB\", \"file\": \"F.cpp\", "
                                 "\"fn\": \"-[C f:]\", \"line\": \"42\" }";

inline std::string plain(const std::string& second, const std::string& message, const std::string& level = "DEBUG") {
    return head(second, level) + "\" " + message + "\"" + kTail + "\r\n";
}
inline std::string event(const std::string& second, const std::string& json) {
    return head(second, "EVT") + " " + json + kTail + "\r\n";
}

} // namespace test
