#pragma once

#include "hdiutil/image/UdifPlist.h"

#include <string>

namespace hdi {

// The resources with which macOS shows `licence`, UTF-8 text, before it mounts an image, in one language: English
// buttons, and the text as it is where ASCII holds it, else as formatted text, which holds any character. Throws
// ImageError kUnsupported for an empty licence, one that is not UTF-8, or one beyond a megabyte.
//
// Facts: as for licenceTexts.
Resources licenceResources(const std::string& licence);

} // namespace hdi
