#include "tools/qn-portal/report/EventLine.h"

#include "tools/qn-portal/common/Timestamp.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <utility>

namespace portal::report {

namespace {

constexpr std::size_t kLongestLine = 1U << 20U; // far beyond any; keeps `unescaped_` bounded

// A walk over the text of a JSON object. A position that is `npos` means that it is none.
constexpr std::size_t kNone = std::string_view::npos;

std::size_t afterBlanks(std::string_view json, std::size_t at) {
    while (at < json.size() && (json[at] == ' ' || json[at] == '\t')) {
        ++at;
    }
    return at;
}

// `at` is on the opening quote; gives the place behind the closing one.
std::size_t afterText(std::string_view json, std::size_t at) {
    for (++at; at < json.size(); ++at) {
        at = json.find_first_of("\"\\", at);
        if (at == kNone || json[at] == '"') {
            return at == kNone ? kNone : at + 1;
        }
        ++at; // what a backslash protects
    }
    return kNone;
}

std::size_t afterNested(std::string_view json, std::size_t at) {
    int depth = 0;
    while (at < json.size()) {
        if (json[at] == '"') {
            at = afterText(json, at);
            continue;
        }
        depth += json[at] == '{' || json[at] == '[' ? 1 : 0;
        depth -= json[at] == '}' || json[at] == ']' ? 1 : 0;
        ++at;
        if (depth == 0) {
            return at;
        }
    }
    return kNone;
}

std::size_t afterValue(std::string_view json, std::size_t at) {
    if (at >= json.size()) {
        return kNone;
    }
    if (json[at] == '"') {
        return afterText(json, at);
    }
    if (json[at] == '{' || json[at] == '[') {
        return afterNested(json, at);
    }
    const std::size_t end = json.find_first_of(",} \t", at);
    return end == at ? kNone : end;
}

} // namespace

const Event* EventReader::read(std::string_view line) {
    constexpr std::string_view kMark = " ci=";
    const std::size_t mark = line.find(' ');
    if (mark == kNone || line.size() > kLongestLine || line.substr(mark, kMark.size()) != kMark) {
        return nullptr;
    }
    const auto time = secondsOf(line.substr(0, mark));
    const std::size_t identifierAt = mark + kMark.size();
    const std::size_t objectAt = line.find(' ', identifierAt);
    if (!time || objectAt == kNone) {
        return nullptr;
    }
    event_ = Event{};
    event_.time = *time;
    event_.identifier = line.substr(identifierAt, objectAt - identifierAt);
    unescaped_.clear();
    unescaped_.reserve(line.size()); // so that views into it stay
    return readObject(line.substr(objectAt + 1)) && !event_.name.empty() ? &event_ : nullptr;
}

bool EventReader::readObject(std::string_view json) {
    std::size_t at = afterBlanks(json, 0);
    if (at >= json.size() || json[at] != '{') {
        return false;
    }
    at = afterBlanks(json, at + 1);
    while (at < json.size() && json[at] == '"') {
        const std::size_t keyEnd = afterText(json, at);
        const std::size_t colon = keyEnd == kNone ? kNone : afterBlanks(json, keyEnd);
        if (colon >= json.size() || json[colon] != ':') {
            return false;
        }
        const std::size_t valueAt = afterBlanks(json, colon + 1);
        const std::size_t valueEnd = afterValue(json, valueAt);
        if (valueEnd == kNone) {
            return false;
        }
        take(json.substr(at + 1, keyEnd - at - 2), json.substr(valueAt, valueEnd - valueAt));
        at = afterBlanks(json, valueEnd);
        if (at < json.size() && json[at] == ',') {
            at = afterBlanks(json, at + 1);
        }
    }
    return at < json.size() && json[at] == '}';
}

void EventReader::take(std::string_view key, std::string_view token) {
    using Place = std::pair<std::string_view, std::string_view Event::*>;
    static constexpr std::array<Place, 10> kTexts{{{"EVT", &Event::name},
                                                   {"APP", &Event::product},
                                                   {"Ver", &Event::version},
                                                   {"CC", &Event::country},
                                                   {"L", &Event::language},
                                                   {"OS", &Event::system},
                                                   {"OSVer", &Event::systemVersion},
                                                   {"Proc", &Event::processor},
                                                   {"RSLT", &Event::result},
                                                   {"RSN", &Event::reason}}};
    if (key == "T") {
        double value = 0;
        const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), value);
        if (error == std::errc()) {
            event_.seconds = value;
        }
        return;
    }
    if (token.front() != '"') {
        return;
    }
    for (const auto& [name, member] : kTexts) {
        if (key == name) {
            event_.*member = textOf(token);
            return;
        }
    }
}

std::string_view EventReader::textOf(std::string_view token) {
    if (token.find('\\') == kNone) {
        return token.substr(1, token.size() - 2);
    }
    const auto parsed = nlohmann::json::parse(token, nullptr, false);
    if (!parsed.is_string()) {
        return {};
    }
    const std::size_t from = unescaped_.size();
    unescaped_ += parsed.get_ref<const std::string&>(); // never longer than what it was written as
    return std::string_view(unescaped_).substr(from);
}

} // namespace portal::report
