#pragma once

#include "hdiutil/image/UdifPlist.h"

#include <string>
#include <vector>

namespace hdi {

// The licence texts among an image's resources, in UTF-8 with line feeds, the default language first.
//
// Facts: Apple Technical Note TN1094 and the "Software License Agreements for UDIFs" development kit: `LPic` lists the
// languages, `TEXT` and `RTF ` hold the texts.
std::vector<std::string> licenceTexts(const Resources& resources);

} // namespace hdi
