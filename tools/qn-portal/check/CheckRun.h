#pragma once

#include "tools/qn-portal/check/CheckOptions.h"
#include "tools/qn-portal/check/Finding.h"

#include <QStringList>

namespace portal::check {

struct CheckReport {
    Findings findings;
    int checked = 0;      // documents, images, bundles and endpoints that were looked at
    QStringList refusals; // a sentence for each target that cannot be checked
};

// Checks all targets, and what they lead to. SIGPIPE is ignored from then on. Throws std::exception when this machine
// fails: a full disk, no memory.
CheckReport runChecks(const CheckOptions& options);

// The program's exit status for a report.
int statusOf(const CheckReport& report, bool isStrict);

} // namespace portal::check
