#pragma once

#include "hdiutil/image/ByteSource.h"

#include <string>

namespace hdi {

// A file on this machine, or a block device, read with pread so that a file that shrinks while it is open gives
// ImageError kIo and never a signal. The descriptor is close-on-exec; the size is the one at opening.
//
// Throws ImageError kIo when the file cannot be opened or is neither a file nor a block device.
ByteSourcePtr openFile(const std::string& path);

} // namespace hdi
