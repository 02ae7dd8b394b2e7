#pragma once

#include <span>
#include <string>

namespace portal {

// `qn-portal check`, as Verb.h asks.
int runCheck(std::span<const std::string> arguments);

} // namespace portal
