#pragma once

#include "hdiutil/front/Arguments.h"

#include <string>

namespace hdi {

// Writes an image anew in another format: the same disk, byte by byte, and in
// a format that has room for one the licence in its default language, with progress on standard
// error on a terminal. The checksums of a compressed chunk are compared on the way, as far as the codec has one; the
// image's own are for `verify`. Returns what to say on standard output. Throws FrontError; there is no trace of the new
// image then.
std::string convertImage(const ConvertOptions& options, const std::string& path, bool passwordFromInput);

} // namespace hdi
