#pragma once

#include <span>
#include <string>

namespace portal {

// `qn-portal report`, as Verb.h asks.
int runReport(std::span<const std::string> arguments);

} // namespace portal
