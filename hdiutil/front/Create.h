#pragma once

#include "hdiutil/front/Arguments.h"

#include <string>

namespace hdi {

// Makes an image of a folder, with progress on standard error on a terminal. A file that is there already stays unless
// it may be replaced. Returns what to say on standard output. Throws FrontError; there is no trace of the image then.
std::string createImage(const CreateOptions& options, const std::string& path, bool passwordFromInput = false);

} // namespace hdi
