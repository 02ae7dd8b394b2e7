#include "tools/qn-portal/report/Tables.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <span>

namespace portal::report {

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const Stages& stages) {
    return {{"started", stages.started},
            {"configured", stages.configured},
            {"downloaded", stages.downloaded},
            {"finished", stages.finished}};
}

Json jsonOf(const std::vector<Slice>& slices) {
    Json list = Json::array();
    for (const Slice& slice : slices) {
        Json item{{"name", slice.name}};
        item.update(jsonOf(slice.stages));
        list.push_back(item);
    }
    return list;
}

Json jsonOf(const Distribution& distribution) {
    Json ranges = Json::array();
    for (const auto& range : distribution.ranges) {
        ranges.push_back({{"from", range.from},
                          {"to", std::isinf(range.to) ? Json(nullptr) : Json(range.to)},
                          {"runs", range.runs}});
    }
    return {{"name", distribution.name},       {"runs", distribution.runs}, {"p10", distribution.p10},
            {"p50", distribution.p50},         {"p90", distribution.p90},   {"p99", distribution.p99},
            {"longest", distribution.longest}, {"ranges", ranges}};
}

std::string quoted(const std::string& field) {
    if (field.find_first_of(",\"\r\n") == std::string::npos) {
        return field;
    }
    std::string text = "\"";
    for (const char character : field) {
        text += character == '"' ? "\"\"" : std::string(1, character);
    }
    return text + "\"";
}

class Csv {
public:
    template <typename Value>
    void row(const std::string& table, const std::string& name, const char* measure, const Value& value) {
        text += quoted(table) + "," + quoted(name) + "," + measure + "," + Json(value).dump() + "\r\n";
    }
    void stages(const std::string& table, const std::string& name, const Stages& stages) {
        row(table, name, "started", stages.started);
        row(table, name, "configured", stages.configured);
        row(table, name, "downloaded", stages.downloaded);
        row(table, name, "finished", stages.finished);
    }
    std::string text = "table,name,measure,value\r\n";
};

std::string printed(const char* format, auto... values) {
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

// The characters of a text, not its bytes; a control character counts as a blank.
std::vector<std::string> charactersOf(const std::string& text) {
    std::vector<std::string> characters;
    for (const char byte : text) {
        const bool isFirst = (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
        const bool isControl = static_cast<unsigned char>(byte) < 0x20U || byte == 0x7F;
        if (isFirst || characters.empty()) {
            characters.emplace_back();
        }
        characters.back() += isControl ? ' ' : byte;
    }
    return characters;
}

// As many columns as `width`; a longer text is cut, with a mark.
std::string fitted(const std::string& text, std::size_t width) {
    const auto characters = charactersOf(text);
    const bool isCut = characters.size() > width;
    std::string result;
    for (const std::string& character :
         std::span(characters).first(std::min<std::size_t>(isCut ? width - 3 : width, characters.size()))) {
        result += character;
    }
    return result + (isCut ? "..." : std::string(width - characters.size(), ' '));
}

// Without the blanks of fitted().
std::string cut(const std::string& text, std::size_t width) {
    const std::string result = fitted(text, width);
    return result.substr(0, result.find_last_not_of(' ') + 1);
}

std::string bar(std::int64_t part, std::int64_t whole) {
    constexpr double kWidth = 30;
    const double share = whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
    return std::string(static_cast<std::size_t>(std::ceil(share * kWidth)), '#');
}

std::string stageLine(const char* name, std::int64_t runs, std::int64_t started) {
    return printed("  %-12s %12lld  %6s  ", name, static_cast<long long>(runs), percent(runs, started).c_str()) +
           bar(runs, started) + "\n";
}

std::string slicesText(const std::string& title, const std::vector<Slice>& slices, std::size_t most) {
    std::string text = "\n" + fitted(title, 38) + "     started  configured  downloaded    finished\n";
    for (const Slice& slice : std::span(slices).first(std::min<std::size_t>(most, slices.size()))) {
        const Stages& stages = slice.stages;
        text += "  " + fitted(slice.name.empty() ? "(not told)" : slice.name, 36) +
                printed("%12lld%12s%12s%12s\n", static_cast<long long>(stages.started),
                        percent(stages.configured, stages.started).c_str(),
                        percent(stages.downloaded, stages.started).c_str(),
                        percent(stages.finished, stages.started).c_str());
    }
    return slices.size() > most ? text + printed("  and %zu more\n", slices.size() - most) : text;
}

std::string distributionText(const Distribution& distribution) {
    std::string text = "\n" + distribution.name + printed(": %lld runs", static_cast<long long>(distribution.runs));
    if (distribution.runs == 0) {
        return text + "\n";
    }
    text += "; half within " + durationText(distribution.p50) + ", 90% within " + durationText(distribution.p90) +
            ", 99% within " + durationText(distribution.p99) + ", longest " + durationText(distribution.longest) + "\n";
    for (const auto& range : distribution.ranges) {
        const std::string label = std::isinf(range.to) ? durationText(range.from) + " and more"
                                                       : durationText(range.from) + " to " + durationText(range.to);
        text += "  " + fitted(label, 22) +
                printed("%12lld  %6s  ", static_cast<long long>(range.runs),
                        percent(range.runs, distribution.runs).c_str()) +
                bar(range.runs, distribution.runs) + "\n";
    }
    return text;
}

std::string reasonsText(const Figures& figures) {
    std::string text = "\nfailures      lines        runs\n";
    for (const Reason& reason :
         std::span(figures.reasons).first(std::min<std::size_t>(kRowsForPeople, figures.reasons.size()))) {
        text += printed("  %12lld%12lld  ", static_cast<long long>(reason.lines), static_cast<long long>(reason.runs)) +
                reason.event + ": " + cut(reason.reason, 56) + "\n";
    }
    if (figures.reasons.size() > kRowsForPeople) {
        text += printed("  and %zu more\n", figures.reasons.size() - kRowsForPeople);
    }
    return figures.reasons.empty() ? "\nno failures\n" : text;
}

} // namespace

std::string jsonReport(const Figures& figures) {
    Json by = Json::object();
    for (const Dimension& dimension : figures.dimensions) {
        by[dimension.name] = jsonOf(dimension.slices);
    }
    Json reasons = Json::array();
    for (const Reason& reason : figures.reasons) {
        reasons.push_back(
            {{"event", reason.event}, {"reason", reason.reason}, {"count", reason.lines}, {"runs", reason.runs}});
    }
    Json durations = Json::array();
    for (const Distribution& distribution : figures.durations) {
        durations.push_back(jsonOf(distribution));
    }
    return Json{{"funnel", jsonOf(figures.funnel)},
                {"reasons", reasons},
                {"without_start", figures.withoutStart},
                {"without_end", figures.withoutEnd},
                {"machines", figures.machines},
                {"by", by},
                {"durations", durations},
                {"days", jsonOf(figures.days)}}
               .dump(2) +
           "\n";
}

std::string csvReport(const Figures& figures) {
    Csv csv;
    csv.stages("funnel", "", figures.funnel);
    csv.row("runs", "", "without_start", figures.withoutStart);
    csv.row("runs", "", "without_end", figures.withoutEnd);
    csv.row("runs", "", "machines", figures.machines);
    for (const Dimension& dimension : figures.dimensions) {
        for (const Slice& slice : dimension.slices) {
            csv.stages(dimension.name, slice.name, slice.stages);
        }
    }
    for (const Reason& reason : figures.reasons) {
        csv.row("reason", reason.event + ": " + reason.reason, "lines", reason.lines);
        csv.row("reason", reason.event + ": " + reason.reason, "runs", reason.runs);
    }
    for (const Distribution& distribution : figures.durations) {
        csv.row("seconds", distribution.name, "p10", distribution.p10);
        csv.row("seconds", distribution.name, "p50", distribution.p50);
        csv.row("seconds", distribution.name, "p90", distribution.p90);
        csv.row("seconds", distribution.name, "p99", distribution.p99);
        csv.row("seconds", distribution.name, "longest", distribution.longest);
    }
    for (const Slice& day : figures.days) {
        csv.stages("day", day.name, day.stages);
    }
    return csv.text;
}

std::string textReport(const Figures& figures) {
    const Stages& funnel = figures.funnel;
    std::string text = "funnel\n";
    text += stageLine("started", funnel.started, funnel.started);
    text += stageLine("configured", funnel.configured, funnel.started);
    text += stageLine("downloaded", funnel.downloaded, funnel.started);
    text += stageLine("finished", funnel.finished, funnel.started);
    text += printed("  on %lld machines; %lld runs without an end", static_cast<long long>(figures.machines),
                    static_cast<long long>(figures.withoutEnd));
    text += printed("; %lld more without a start\n", static_cast<long long>(figures.withoutStart));
    text += reasonsText(figures);
    for (const Distribution& distribution : figures.durations) {
        text += distributionText(distribution);
    }
    for (const Dimension& dimension : figures.dimensions) {
        text += slicesText("by " + dimension.name, dimension.slices, kRowsForPeople);
    }
    return text + slicesText("by day", figures.days, figures.days.size());
}

std::string percent(std::int64_t part, std::int64_t whole) {
    return whole == 0 ? "-" : printed("%.1f%%", static_cast<double>(part) * 100 / static_cast<double>(whole));
}

std::string durationText(double seconds) {
    constexpr double kMinute = 60;
    constexpr double kHour = 3600;
    if (seconds < kMinute) {
        return printed("%.3g s", seconds);
    }
    return seconds < kHour ? printed("%.3g min", seconds / kMinute) : printed("%.3g h", seconds / kHour);
}

} // namespace portal::report
