#pragma once

#include <span>
#include <string>

namespace portal {

// `qn-portal brand`, as Verb.h asks.
int runBrand(std::span<const std::string> arguments);

} // namespace portal
