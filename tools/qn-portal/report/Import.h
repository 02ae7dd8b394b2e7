#pragma once

#include "tools/qn-portal/report/Database.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace portal::report {

struct ImportResult {
    std::int64_t lines = 0;  // that were events
    std::int64_t passed = 0; // lines that were nothing of ours
    std::int64_t added = 0;  // runs
    std::int64_t known = 0;  // runs that the database had already
};

// Reads files of analytics lines ("-" is the standard input) into the database in one transaction: after an error,
// or once `isCancelled` is set, the database is what it was. Memory does not grow with the files. Throws ReportError,
// also when a file holds bytes but not one line of ours, and Interrupted.
ImportResult importFiles(Database& database, const std::vector<std::string>& paths,
                         const std::atomic<bool>& isCancelled);

} // namespace portal::report
