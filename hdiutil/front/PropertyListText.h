#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/image/DiskImage.h"

#include <string>
#include <vector>

namespace hdi {

// XML property lists for -plist, made by libplist. Pure.
std::string attachPlist(const std::vector<AttachedRow>& rows);
std::string infoPlist(const std::vector<AttachRecord>& records);
std::string imageInfoPlist(const ImageFacts& facts);

} // namespace hdi
