#pragma once

#include "tools/qn-portal/check/CheckRun.h"

#include <string>

// Reports in the three forms. Pure.
namespace portal::check {

// For people: each finding with its line of code and a caret, then a line that counts.
std::string textOutput(const CheckReport& report, bool inColor);
// One object: {"findings": […], "checked": N}.
std::string jsonOutput(const CheckReport& report);
// One test case for each check, failed where it found something that counts.
std::string junitOutput(const CheckReport& report, bool isStrict);

// All checks as a table in Markdown.
std::string ruleTable();

} // namespace portal::check
