#include "tools/qn-portal/report/ReportVerb.h"

#include "tools/qn-portal/Verb.h"

#include <cstdio>

namespace portal {

int runReport(std::span<const std::string> arguments) {
    const char* const input = arguments.empty() ? "nothing" : arguments.front().c_str();
    std::fprintf(stderr, "qn-portal report: cannot read %s\n", input);
    return kCannotDo;
}

} // namespace portal
