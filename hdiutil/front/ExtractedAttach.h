#pragma once

#include "hdiutil/front/Attach.h"

namespace hdi {

// Attaches without FUSE: all volumes are written to a fresh folder below the temporary folder, and symlinks to them
// stand in the volumes folder. A checksum that is to be looked at beside is looked at while writing. SIGINT, SIGTERM
// and SIGHUP end it early. Throws FrontError; nothing is left then.
AttachResult attachByExtracting(const AttachOptions& options, const VolumesFolder& volumes);

} // namespace hdi
