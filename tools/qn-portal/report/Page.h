#pragma once

#include "tools/qn-portal/report/Figures.h"

#include <string>

namespace portal::report {

// The report as one HTML page that needs nothing else: no script, no network, its charts drawn as SVG, in the reader's
// light or dark. Each chart is a picture with a name and has its numbers in a table below. Pure.
//
// `source` is what the reader knows the data by, `period` says of which days it is; both are shown as they are.
std::string htmlReport(const Figures& figures, const std::string& source, const std::string& period);

} // namespace portal::report
