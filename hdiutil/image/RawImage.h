#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/DiskImage.h"

#include <memory>

namespace hdi {

// A file that is a disk as it stands. Null when it begins like none: without the signature of a partition map or of a
// file system.
std::unique_ptr<DiskImage> openRawImage(const ByteSourcePtr& file);

// A disk that is stored in some way without checksums and licences; the length of the disk is filled in.
std::unique_ptr<DiskImage> imageOfDisk(ByteSourcePtr disk, ImageFacts facts);

} // namespace hdi
