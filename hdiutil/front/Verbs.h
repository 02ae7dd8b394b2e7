#pragma once

#include <string>
#include <vector>

namespace hdi {

// The whole program: understands the words, does the work, writes what is due to standard output and standard error.
// Returns the exit status.
int runVerb(const std::vector<std::string>& words);

} // namespace hdi
