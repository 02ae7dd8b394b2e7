#pragma once

#include <span>
#include <string>

namespace portal {

// `qn-portal serve`, as Verb.h asks.
int runServe(std::span<const std::string> arguments);

} // namespace portal
