#pragma once

#include "tools/qn-portal/report/Figures.h"

#include <string>

// Charts as SVG elements. Their colours are the page's classes; every picture has a name (`title`) and a sentence that
// says what it shows (`desc`) for who does not see it. Pure.
namespace portal::report {

std::string funnelChart(const Stages& funnel);
std::string daysChart(const std::vector<Slice>& days);
// `number` tells the charts of one page apart.
std::string distributionChart(const Distribution& distribution, int number);

} // namespace portal::report
