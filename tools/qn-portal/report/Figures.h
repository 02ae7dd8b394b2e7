#pragma once

#include "tools/qn-portal/report/Database.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace portal::report {

// The funnel: each number counts runs among those before it.
struct Stages {
    std::int64_t started = 0;
    std::int64_t configured = 0;
    std::int64_t downloaded = 0;
    std::int64_t finished = 0;
};

// The runs that have something in common.
struct Slice {
    std::string name; // "" when the lines did not tell
    Stages stages;
};

struct Dimension {
    std::string name;          // "product", …
    std::vector<Slice> slices; // the biggest first
};

struct Reason {
    std::string event;
    std::string reason;
    std::int64_t lines = 0;
    std::int64_t runs = 0;
};

// Durations in seconds.
struct Distribution {
    struct Range {
        double from;
        double to; // infinite for the last one
        std::int64_t runs;
    };
    std::string name; // "configuration", …
    std::int64_t runs = 0;
    double p10 = 0, p50 = 0, p90 = 0, p99 = 0, longest = 0;
    std::vector<Range> ranges; // none empty at either end
};

// All numbers of a report. Only runs with a "Start" count, but for `withoutStart`.
struct Figures {
    Stages funnel;
    std::int64_t withoutStart = 0;
    std::int64_t withoutEnd = 0;
    std::int64_t machines = 0;
    std::int64_t configFails = 0;   // runs with at least one FAIL of "Config"
    std::int64_t downloadFails = 0; // … of "Download"
    std::array<Dimension, 6> dimensions;
    std::vector<Reason> reasons; // the most frequent first
    std::array<Distribution, 3> durations;
    std::vector<Slice> days; // oldest first; a day without runs between two others is there with zeros
};

// Seconds since 1970; from the first up to, but not with, the second.
struct Period {
    std::int64_t from = std::numeric_limits<std::int64_t>::min();
    std::int64_t to = std::numeric_limits<std::int64_t>::max();
};

// Reads the runs that began in the period, once. Throws ReportError.
Figures figuresOf(Database& database, const Period& period);

} // namespace portal::report
