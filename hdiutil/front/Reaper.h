#pragma once

#include "hdiutil/front/AttachedState.h"

namespace hdi {

// Whether what a record tells is still so: not after a restart of the machine, not when the daemon was killed, not when
// the extracted folder or its symlink was deleted by hand.
bool isLive(const AttachRecord& record);

// Takes back everything an attached image left in the file system, the record included; its daemon must be gone. False
// when something stays; the record is kept then.
bool cleanUp(const AttachedState& state, const AttachRecord& record);

} // namespace hdi
