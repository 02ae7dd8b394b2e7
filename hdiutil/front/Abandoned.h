#pragma once

#include "hdiutil/front/AttachedState.h"

#include <vector>

namespace hdi {

// Cleans up after every record that is not live, takes back what was attached for applications that are gone unless
// something is open in it, and returns the others.
std::vector<AttachRecord> reapAndList(const AttachedState& state);

// The same for verbs that do not need what is attached: never waits for others, never throws, and makes nothing.
void reapBeside();

} // namespace hdi
