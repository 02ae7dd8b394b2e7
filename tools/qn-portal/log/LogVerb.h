#pragma once

#include <span>
#include <string>

namespace portal {

// `qn-portal log`, as Verb.h asks.
int runLog(std::span<const std::string> arguments);

} // namespace portal
