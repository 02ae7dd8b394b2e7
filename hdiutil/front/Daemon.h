#pragma once

#include "hdiutil/front/Attach.h"

#include <optional>

namespace hdi {

// Attaches through a daemon that serves the image until its volumes are unmounted. The daemon is a fork of this process
// in a session of its own; it keeps none of the caller's descriptors, so that a caller who reads our output through a
// pipe sees its end. Returns when the mounts answer; absent when FUSE is not to be had after all. Throws FrontError;
// nothing is left then.
//
// Call it while the process has one thread.
std::optional<AttachResult> attachThroughDaemon(const AttachOptions& options, const VolumesFolder& volumes);

} // namespace hdi
