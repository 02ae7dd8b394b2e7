#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/UdifTrailer.h"

#include <memory>

namespace hdi {

// Null when the file has no UDIF trailer. Throws ImageError for what is wrong with one that has.
std::unique_ptr<DiskImage> openUdifImage(const ByteSourcePtr& file, const ReadOptions& options);

// The same with a trailer that is known already.
std::unique_ptr<DiskImage> openUdifImage(const ByteSourcePtr& file, const UdifTrailer& trailer,
                                         const ReadOptions& options);

} // namespace hdi
