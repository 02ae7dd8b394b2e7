#pragma once

#include "tools/qn-portal/report/Figures.h"

#include <string>
#include <string_view>
#include <vector>

namespace portal::report {

// A condition under which somebody wants to be told: "config.fail>2%", "finished<80%", "download.p90>60".
struct Alert {
    std::string text; // as it was given
    std::string measure;
    bool isAbove = true;
    double limit = 0;
    bool isPercent = false; // of the runs that started
};

// Throws ReportError when the text is no such condition.
Alert parseAlert(const std::string& text);

// One sentence for each alert that holds. A share of no runs at all is none, and never holds.
std::vector<std::string> firedAlerts(const std::vector<Alert>& alerts, const Figures& figures);

// The measures there are, each with what it counts, for --help.
std::string measuresHelp();

} // namespace portal::report
