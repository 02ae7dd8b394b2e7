#include "tools/qn-portal/report/Alert.h"

#include "tools/qn-portal/report/ReportError.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace portal::report {

namespace {

struct Measure {
    std::string_view name;
    std::string_view meaning;
    double (*value)(const Figures& figures);
    bool isDuration;
};

double asDouble(std::int64_t number) {
    return static_cast<double>(number);
}

constexpr std::array kMeasures{
    Measure{"started", "runs that began", [](const Figures& f) { return asDouble(f.funnel.started); }, false},
    Measure{"configured", "runs that got a configuration",
            [](const Figures& f) { return asDouble(f.funnel.configured); }, false},
    Measure{"downloaded", "runs that got the image", [](const Figures& f) { return asDouble(f.funnel.downloaded); },
            false},
    Measure{"finished", "runs that ended without a failure",
            [](const Figures& f) { return asDouble(f.funnel.finished); }, false},
    Measure{"config.fail", "runs with a FAIL of \"Config\"", [](const Figures& f) { return asDouble(f.configFails); },
            false},
    Measure{"download.fail", "runs with a FAIL of \"Download\"",
            [](const Figures& f) { return asDouble(f.downloadFails); }, false},
    Measure{"end.missing", "runs without an \"End\"", [](const Figures& f) { return asDouble(f.withoutEnd); }, false},
    Measure{"config.p50", "seconds until half of the configurations were there",
            [](const Figures& f) { return f.durations[0].p50; }, true},
    Measure{"config.p90", "seconds until nine tenths were", [](const Figures& f) { return f.durations[0].p90; }, true},
    Measure{"download.p50", "seconds until half of the images were there",
            [](const Figures& f) { return f.durations[1].p50; }, true},
    Measure{"download.p90", "seconds until nine tenths were", [](const Figures& f) { return f.durations[1].p90; },
            true},
};

const Measure* measureCalled(std::string_view name) {
    const auto* const found = std::ranges::find(kMeasures, name, &Measure::name);
    return found == kMeasures.end() ? nullptr : found;
}

std::optional<double> valueOf(const Alert& alert, const Figures& figures) {
    const double value = measureCalled(alert.measure)->value(figures);
    if (!alert.isPercent) {
        return value;
    }
    return figures.funnel.started == 0 ? std::nullopt : std::optional(value * 100 / asDouble(figures.funnel.started));
}

} // namespace

Alert parseAlert(const std::string& text) {
    const std::size_t sign = text.find_first_of("<>");
    const std::string name = text.substr(0, sign);
    const Measure* const measure = measureCalled(name);
    if (measure == nullptr || sign == std::string::npos) {
        throw ReportError("\"" + text + "\" is no alert such as config.fail>2%");
    }
    std::string number = text.substr(sign + 1);
    const bool isPercent = number.ends_with('%');
    if (isPercent) {
        number.pop_back();
    }
    char* end = nullptr;
    const double limit = std::strtod(number.c_str(), &end);
    if (number.empty() || *end != '\0') {
        throw ReportError("\"" + text + "\" has no number behind its sign");
    }
    if (isPercent && measure->isDuration) {
        throw ReportError("\"" + text + "\": " + name + " is measured in seconds");
    }
    return {text, name, text[sign] == '>', limit, isPercent};
}

std::vector<std::string> firedAlerts(const std::vector<Alert>& alerts, const Figures& figures) {
    std::vector<std::string> sentences;
    for (const Alert& alert : alerts) {
        const auto value = valueOf(alert, figures);
        if (value && (alert.isAbove ? *value > alert.limit : *value < alert.limit)) {
            std::array<char, 64> number{};
            std::snprintf(number.data(), number.size(), "%.6g", *value);
            sentences.push_back(alert.text + ": it is " + number.data() + (alert.isPercent ? "%" : ""));
        }
    }
    return sentences;
}

std::string measuresHelp() {
    std::string help;
    for (const Measure& measure : kMeasures) {
        help += "    " + std::string(measure.name) + std::string(16 - measure.name.size(), ' ') +
                std::string(measure.meaning) + "\n";
    }
    return help;
}

} // namespace portal::report
