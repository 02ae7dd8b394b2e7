#include "tools/qn-portal/report/Page.h"

#include "tools/qn-portal/common/Html.h"
#include "tools/qn-portal/report/Charts.h"
#include "tools/qn-portal/report/Tables.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace portal::report {

namespace {

constexpr const char* kHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<title>Portal report</title>
<style>
:root { color-scheme: light dark; --paper: #ffffff; --ink: #1a1a1a; --quiet: #5a5a5a; --line: #d4d4d8;
        --bar: #1f5fbf; --pale: #a9c6ee; --back: #eef0f3; --bad: #b3261e; }
@media (prefers-color-scheme: dark) {
:root { --paper: #15171a; --ink: #ececec; --quiet: #a8a8ad; --line: #3a3d42;
        --bar: #7fb0f5; --pale: #33507a; --back: #22262b; --bad: #ff8a80; }
}
body { background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, sans-serif;
       margin: 0 auto; max-width: 60rem; padding: 1.5rem; }
h1 { font-size: 1.6rem; margin: 0; }
h2 { font-size: 1.2rem; margin: 2.2rem 0 .6rem; }
p.quiet, summary, caption { color: var(--quiet); }
svg { display: block; height: auto; max-width: 100%; width: 100%; }
svg text { fill: var(--ink); font: 13px system-ui, sans-serif; }
.bar { fill: var(--bar); } .pale { fill: var(--pale); } .back { fill: var(--back); }
.grid { stroke: var(--line); stroke-width: 1; }
.key::before { background: var(--pale); content: ""; display: inline-block; height: .8em; margin: 0 .4em 0 0;
               width: .8em; }
.key.done::before { background: var(--bar); margin-left: 1.2em; }
table { border-collapse: collapse; width: 100%; }
caption { padding: .3rem 0; text-align: left; }
th, td { border-bottom: 1px solid var(--line); padding: .3rem .5rem; text-align: right; vertical-align: top; }
th:first-child, td.text { overflow-wrap: anywhere; text-align: left; }
th { font-weight: 600; } tbody th { font-weight: 400; }
td.lost { color: var(--bad); }
.wide { overflow-x: auto; }
</style>
</head>
<body>
)html";

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string cell(const std::string& text, const char* attributes = "") {
    return "<td" + std::string(attributes) + ">" + escaped(text) + "</td>";
}

std::string rowHead(const std::string& text) {
    return "<th scope=\"row\">" + escaped(text) + "</th>";
}

std::string table(const std::string& caption, std::initializer_list<const char*> columns, const std::string& rows) {
    std::string text = "<div class=\"wide\"><table><caption>" + escaped(caption) + "</caption><thead><tr>";
    for (const char* const column : columns) {
        text += "<th scope=\"col\">" + std::string(column) + "</th>";
    }
    return text + "</tr></thead><tbody>\n" + rows + "</tbody></table></div>\n";
}

std::string sliceRow(const Slice& slice) {
    const Stages& stages = slice.stages;
    return "<tr>" + rowHead(slice.name.empty() ? "(not told)" : slice.name) + cell(number(stages.started)) +
           cell(percent(stages.configured, stages.started)) + cell(percent(stages.downloaded, stages.started)) +
           cell(percent(stages.finished, stages.started)) + "</tr>\n";
}

std::string slicesTable(const std::string& caption, const char* what, const std::vector<Slice>& slices,
                        std::size_t most) {
    std::string rows;
    for (const Slice& slice : std::span(slices).first(std::min<std::size_t>(most, slices.size()))) {
        rows += sliceRow(slice);
    }
    std::string text = table(caption, {what, "started", "configured", "downloaded", "finished"}, rows);
    if (slices.size() > most) {
        text += "<p class=\"quiet\">and " + std::to_string(slices.size() - most) + " more</p>\n";
    }
    return text;
}

std::string folded(const std::string& content) {
    return "<details><summary>The numbers</summary>\n" + content + "</details>\n";
}

std::string funnelSection(const Figures& figures) {
    const Stages& funnel = figures.funnel;
    return "<h2>Funnel</h2>\n" + funnelChart(funnel) + "<p>" + number(funnel.started) + " runs on " +
           number(figures.machines) + " machines; " + number(figures.withoutEnd) + " of them without an end, " +
           number(figures.withoutStart) + " more without a start.</p>\n";
}

std::string reasonsSection(const Figures& figures) {
    std::string rows;
    for (const Reason& reason :
         std::span(figures.reasons).first(std::min<std::size_t>(4 * kRowsForPeople, figures.reasons.size()))) {
        rows += "<tr>" + rowHead(reason.event + ": " + reason.reason) + cell(number(reason.lines)) +
                cell(number(reason.runs)) + cell(percent(reason.runs, figures.funnel.started), " class=\"lost\"") +
                "</tr>\n";
    }
    const std::string body = figures.reasons.empty()
                                 ? "<p>None.</p>\n"
                                 : table("The most frequent first", {"reason", "lines", "runs", "of all runs"}, rows);
    return "<h2>Failures</h2>\n" + body;
}

std::string durationSection(const Distribution& distribution, int index) {
    std::string text = "<h2>How long: " + escaped(distribution.name) + "</h2>\n";
    if (distribution.runs == 0) {
        return text + "<p>No run told.</p>\n";
    }
    std::string rows;
    for (const auto& range : distribution.ranges) {
        const std::string name = std::isinf(range.to) ? durationText(range.from) + " and more"
                                                      : durationText(range.from) + " to " + durationText(range.to);
        rows += "<tr>" + rowHead(name) + cell(number(range.runs)) + cell(percent(range.runs, distribution.runs)) +
                "</tr>\n";
    }
    text += "<p>Half within " + durationText(distribution.p50) + ", 90% within " + durationText(distribution.p90) +
            ", 99% within " + durationText(distribution.p99) + ", the longest " + durationText(distribution.longest) +
            ".</p>\n";
    return text + distributionChart(distribution, index) +
           folded(table(number(distribution.runs) + " runs", {"duration", "runs", "share"}, rows));
}

std::string daysSection(const std::vector<Slice>& days) {
    if (days.empty()) {
        return {};
    }
    return "<h2>Days</h2>\n<p><span class=\"key\">started</span> <span class=\"key done\">finished</span></p>\n" +
           daysChart(days) + folded(slicesTable("Days in UTC", "day", days, days.size()));
}

} // namespace

std::string htmlReport(const Figures& figures, const std::string& source, const std::string& period) {
    std::string page = kHead;
    page += "<main>\n<h1>Portal report</h1>\n<p class=\"quiet\">" + escaped(source) + ", " + escaped(period) + "</p>\n";
    page += funnelSection(figures) + daysSection(figures.days) + reasonsSection(figures);
    for (std::size_t i = 0; i < figures.durations.size(); ++i) {
        page += durationSection(figures.durations[i], static_cast<int>(i));
    }
    for (const Dimension& dimension : figures.dimensions) {
        page += "<h2>By " + dimension.name + "</h2>\n" +
                slicesTable("The biggest first", dimension.name.c_str(), dimension.slices, 4 * kRowsForPeople);
    }
    return page + "</main>\n</body>\n</html>\n";
}

} // namespace portal::report
