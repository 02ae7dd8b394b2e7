#include "tools/qn-portal/log/LogVerb.h"

#include "tools/qn-portal/Verb.h"

#include <cstdio>

namespace portal {

int runLog(std::span<const std::string> arguments) {
    const char* const input = arguments.empty() ? "nothing" : arguments.front().c_str();
    std::fprintf(stderr, "qn-portal log: cannot read %s\n", input);
    return kCannotDo;
}

} // namespace portal
