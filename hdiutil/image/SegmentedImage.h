#pragma once

#include "hdiutil/image/UdifImage.h"

#include <string>

namespace hdi {

// A UDIF image whose data are spread over several files: `path` is NAME.dmg, the others lie beside it as
// NAME.002.dmgpart and so on. Each has a trailer that says which part it is and where its data go on. Throws
// ImageError: kUnsupported when `path` is not the first part, kIo when a part is missing, kDamaged when one does not
// belong to the others or does not go on where the one before it ends.
//
// Facts: as for UdifTrailer; hdiutil(1) of macOS, "segment", for the names.
std::unique_ptr<DiskImage> openSegmentedImage(const std::string& path, const ByteSourcePtr& first,
                                              const UdifTrailer& trailer, const ReadOptions& options);

} // namespace hdi
