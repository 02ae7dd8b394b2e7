#pragma once

#include "tools/qn-portal/report/Figures.h"

#include <cstdint>
#include <string>

// A report as text for machines and for terminals. Pure.
namespace portal::report {

// "funnel", "reasons", "by" (a list for each dimension), "durations", "days" and the counts beside them.
std::string jsonReport(const Figures& figures);

// One long table, "table,name,measure,value", after RFC 4180.
std::string csvReport(const Figures& figures);

// Lines of at most 100 columns, in characters that every terminal has.
std::string textReport(const Figures& figures);

// A share as "12.3%", "-" of nothing.
std::string percent(std::int64_t part, std::int64_t whole);

// Seconds as "0.25 s", "12 s", "3.5 min", "2 h".
std::string durationText(double seconds);

// How many rows of a ranked list a person is shown; the rest is counted.
inline constexpr std::size_t kRowsForPeople = 12;

} // namespace portal::report
