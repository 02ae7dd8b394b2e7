#pragma once

#include "hdiutil/front/Attach.h"

#include <string>

namespace hdi {

// Copies what an image's volume shows into `folder`, which must not be there or be empty: contents, modes, times,
// links. Of several volumes each gets a folder of its own in it. Nothing is written outside. Returns the lines for
// standard error. Throws FrontError, or ends early by a signal: `folder` then is as it was before.
std::string extractImage(AttachOptions options, const std::string& folder);

} // namespace hdi
