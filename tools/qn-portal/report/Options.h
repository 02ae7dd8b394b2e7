#pragma once

#include "tools/qn-portal/report/Alert.h"
#include "tools/qn-portal/report/Figures.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace portal::report {

enum class Format { kText, kJson, kCsv };

// What the command line of `qn-portal report` asks for.
struct Options {
    bool wantsHelp = false;
    std::vector<std::string> inputs; // a database alone, or files of lines
    std::optional<std::string> into; // the database that the lines are kept in
    std::optional<Format> format;
    std::optional<std::string> page; // the file for the HTML page
    std::vector<Alert> alerts;
    Period period;
    std::string periodText = "all days";
};

// `now` is what --days counts back from, in seconds since 1970. Throws ReportError, with one sentence.
Options parseOptions(std::span<const std::string> arguments, std::int64_t now);

std::string helpText();

} // namespace portal::report
