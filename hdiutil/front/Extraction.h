#pragma once

#include "hdiutil/front/Attach.h"

#include <atomic>
#include <functional>

namespace hdi {

// From here on SIGINT, SIGTERM and SIGHUP no longer end the process: they end an extraction early.
void catchInterruptions();

// Calls `extract`, with what ends it early, while an image that is still to be checked is checked beside it: a failed
// check ends it too. Throws AttachError with the reason, what the check says first, since it explains the rest.
void extractChecked(const PreparedImage& prepared, const std::function<void(const std::atomic<bool>& stop)>& extract);

} // namespace hdi
