#include "tools/qn-portal/log/Printer.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace portal::eventlog {

namespace {

// The value behind a key of a compact JSON object, as it is written there; its quotes are left out. The key is given
// without its first quote, of which there are so many that looking for one is slow.
std::string_view valueOf(std::string_view json, std::string_view key) {
    std::size_t at = json.find(key);
    while (at != std::string_view::npos && (at == 0 || json[at - 1] != '"')) {
        at = json.find(key, at + 1);
    }
    if (at == std::string_view::npos) {
        return {};
    }
    const std::string_view value = json.substr(at + key.size());
    if (!value.starts_with('"')) {
        return value.substr(0, value.find_first_of(",}"));
    }
    std::size_t end = 1;
    while (end < value.size() && value[end] != '"') {
        end += value[end] == '\\' ? 2 : 1;
    }
    return value.substr(1, std::min(end, value.size()) - 1);
}

} // namespace

std::string eventWords(std::string_view json) {
    std::string words(valueOf(json, "EVT\":"));
    if (words.empty()) {
        return std::string(json);
    }
    if (const auto result = valueOf(json, "RSLT\":"); !result.empty()) {
        (words += ' ') += result;
    }
    if (const auto reason = valueOf(json, "RSN\":"); !reason.empty()) {
        (words += ": ") += reason;
    }
    if (const auto seconds = valueOf(json, "T\":"); !seconds.empty()) {
        double value = 0;
        std::from_chars(seconds.data(), seconds.data() + seconds.size(), value);
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), ", %.3g s", value);
        words += text.data();
    }
    return words;
}

std::string verdict(const RunStory& story) {
    const std::string problem = story.problem();
    return std::to_string(story.seconds()) + " s; the last screen: " + story.screen() + ". " +
           (problem.empty() ? "Nothing went wrong." : problem);
}

void RunSplitter::add(const Entry& entry) {
    if (number_ == 0 || story_.beginsAnother(entry)) {
        if (number_ > 0) {
            printer_.endRun(story_);
        }
        story_ = RunStory();
        printer_.beginRun(++number_, entry);
    }
    story_.add(entry);
    printer_.entry(number_, entry, story_);
}

void RunSplitter::finish() {
    if (number_ > 0) {
        printer_.endRun(story_);
    }
}

} // namespace portal::eventlog
