#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/image/DiskImage.h"

#include <string>
#include <vector>

namespace hdi {

// What `info` and `imageinfo` print. Pure.
std::string infoText(const std::vector<AttachRecord>& records);
std::string imageInfoText(const ImageFacts& facts, const std::string& partitionScheme);

// What is attached, after cleaning up what is not any more. Throws FrontError.
std::vector<AttachRecord> attachedImages();

// The facts of an image with the text or property list to print. Throws FrontError.
std::string describeImage(const std::string& path, bool asPlist, bool passwordFromInput);

// Checks every checksum of an image, with progress on standard error on a terminal. Returns the lines for standard
// error. Throws FrontError when one does not hold.
std::string verifyImage(const std::string& path, bool passwordFromInput);

} // namespace hdi
