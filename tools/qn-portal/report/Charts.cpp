#include "tools/qn-portal/report/Charts.h"

#include "tools/qn-portal/common/Html.h"
#include "tools/qn-portal/report/Tables.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace portal::report {

namespace {

constexpr double kWidth = 720; // of every chart, in its own units; the page scales it

std::string printed(const char* format, auto... values) {
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string picture(const std::string& id, double height, const std::string& title, const std::string& sentence,
                    const std::string& content) {
    return printed("<svg viewBox=\"0 0 %.0f %.0f\" role=\"img\" aria-labelledby=\"%s-title %s-desc\">", kWidth, height,
                   id.c_str(), id.c_str()) +
           "<title id=\"" + id + "-title\">" + escaped(title) + "</title><desc id=\"" + id + "-desc\">" +
           escaped(sentence) + "</desc>" + content + "</svg>\n";
}

std::string box(const char* shape, double left, double top, double width, double height) {
    return printed("<rect class=\"%s\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\"/>", shape, left, top, width,
                   height);
}

std::string label(const char* anchor, double left, double bottom, const std::string& text) {
    return printed("<text text-anchor=\"%s\" x=\"%.1f\" y=\"%.1f\">", anchor, left, bottom) + escaped(text) + "</text>";
}

double share(std::int64_t part, std::int64_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

// A round number that is not below any bar: 1, 2 or 5 and zeros.
std::int64_t roundedUp(std::int64_t value) {
    std::int64_t unit = 1;
    while (unit * 10 < value) {
        unit *= 10;
    }
    for (const int factor : {1, 2, 5}) {
        if (unit * factor >= value) {
            return unit * factor;
        }
    }
    return unit * 10;
}

// Lines at nothing, half and all of a scale that ends at `top`.
std::string grid(double left, double bottom, double height, std::int64_t top) {
    std::string lines;
    for (const int half : {0, 1, 2}) {
        const double y = bottom - height * half / 2;
        lines += printed("<line class=\"grid\" x1=\"%.1f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\"/>", left, kWidth, y, y);
        if (half != 1 || top % 2 == 0) {
            lines += label("end", left - 8, y + 4, std::to_string(top * half / 2));
        }
    }
    return lines;
}

} // namespace

std::string funnelChart(const Stages& funnel) {
    constexpr double kLeft = 110;
    constexpr double kBar = 430;
    constexpr double kStep = 44;
    const std::array<std::pair<const char*, std::int64_t>, 4> stages{{{"started", funnel.started},
                                                                      {"configured", funnel.configured},
                                                                      {"downloaded", funnel.downloaded},
                                                                      {"finished", funnel.finished}}};
    std::string content;
    std::string sentence;
    double top = 4;
    for (const auto& [name, runs] : stages) {
        const std::string numbers = std::to_string(runs) + " (" + percent(runs, funnel.started) + ")";
        content += label("end", kLeft - 10, top + 21, name) + box("back", kLeft, top, kBar, kStep - 12) +
                   box("bar", kLeft, top, kBar * share(runs, funnel.started), kStep - 12) +
                   label("start", kLeft + kBar + 10, top + 21, numbers);
        sentence += (sentence.empty() ? "" : ", ") + std::string(name) + " " + numbers;
        top += kStep;
    }
    return picture("funnel", top, "Funnel", sentence, content);
}

std::string daysChart(const std::vector<Slice>& days) {
    constexpr double kLeft = 64;
    constexpr double kBottom = 220;
    constexpr double kHeight = 200;
    std::int64_t most = 1;
    for (const Slice& day : days) {
        most = std::max(most, day.stages.started);
    }
    const std::int64_t top = roundedUp(most);
    constexpr double kWidest = 80;
    const double step =
        std::min(kWidest, (kWidth - kLeft) / static_cast<double>(std::max<std::size_t>(days.size(), 1)));
    std::string content = grid(kLeft, kBottom, kHeight, top);
    double left = kLeft;
    for (const Slice& day : days) {
        const double gap = std::min(step * 0.2, 6.0);
        for (const auto& [shape, runs] :
             {std::pair("pale", day.stages.started), std::pair("bar", day.stages.finished)}) {
            const double height = kHeight * share(runs, top);
            content += box(shape, left + gap / 2, kBottom - height, step - gap, height);
        }
        left += step;
    }
    if (!days.empty()) {
        content += label("start", kLeft, kBottom + 20, days.front().name);
    }
    if (days.size() > 1) {
        content += label("end", std::max(left, kLeft + 160), kBottom + 20, days.back().name);
    }
    const std::string sentence =
        std::to_string(days.size()) + " days; the most runs that started on one: " + std::to_string(most);
    return picture("days", kBottom + 28, "Runs started and finished, day by day", sentence, content);
}

std::string distributionChart(const Distribution& distribution, int number) {
    constexpr double kLeft = 64;
    constexpr double kBottom = 160;
    constexpr double kHeight = 140;
    std::int64_t most = 1;
    for (const auto& range : distribution.ranges) {
        most = std::max(most, range.runs);
    }
    const std::int64_t top = roundedUp(most);
    constexpr double kWidest = 80;
    const double step =
        std::min(kWidest, (kWidth - kLeft) / static_cast<double>(std::max<std::size_t>(distribution.ranges.size(), 1)));
    const bool isCrowded = step < 60; // labels would run into each other
    std::string content = grid(kLeft, kBottom, kHeight, top);
    double left = kLeft;
    bool hasLabel = true;
    for (const auto& range : distribution.ranges) {
        const double height = kHeight * share(range.runs, top);
        content += box("bar", left + 1, kBottom - height, step - 2, height);
        if (hasLabel) {
            content += label("middle", left, kBottom + 18, durationText(range.from));
        }
        hasLabel = !isCrowded || !hasLabel;
        left += step;
    }
    if (hasLabel && !distribution.ranges.empty() && !std::isinf(distribution.ranges.back().to) && left < kWidth - 20) {
        content += label("middle", left, kBottom + 18, durationText(distribution.ranges.back().to));
    }
    const std::string sentence = std::to_string(distribution.runs) + " runs; half within " +
                                 durationText(distribution.p50) + ", 90% within " + durationText(distribution.p90) +
                                 ", 99% within " + durationText(distribution.p99);
    return picture("duration" + std::to_string(number), kBottom + 26, "How long: " + distribution.name, sentence,
                   content);
}

} // namespace portal::report
