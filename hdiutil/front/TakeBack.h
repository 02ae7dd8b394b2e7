#pragma once

#include "hdiutil/front/AttachedState.h"
#include "hdiutil/front/Detach.h"

#include <optional>
#include <string>

namespace hdi {

// Throws FrontError with kStatusBusy.
[[noreturn]] void failBusy(const std::string& name);

// Takes back what a record tells of, or only the row with `device`, whichever way it was attached; waits for the end of
// its daemon. Under the lock. Throws FrontError, with kStatusBusy while something is open there.
void takeBack(const AttachedState& state, AttachRecord record, const std::optional<std::string>& device,
              const DetachOptions& options);

} // namespace hdi
