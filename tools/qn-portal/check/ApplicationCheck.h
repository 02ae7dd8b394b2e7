#pragma once

#include "hdiutil/volume/Volume.h"
#include "tools/qn-portal/check/Finding.h"
#include "tools/qn-portal/check/ImageCheck.h"

namespace portal::check {

// Looks for the one application at the top of a volume, and whether it could be started. Throws hdi::ImageError.
void checkApplications(Findings& findings, const Place& place, const hdi::Volume& volume,
                       const InstallerFacts& installer);

} // namespace portal::check
