#pragma once

#include "hdiutil/image/ByteSource.h"

namespace hdi {

// Throws ImageError (kUnsupported), naming it and a program of Debian that reads it, when the partition holds a file
// system that is known and not read: FAT12, FAT16, FAT32, exFAT, or that of an optical disc (ISO 9660, UDF). The reason
// stands in hdiutil/docs/decisions/fat.md.
//
// Facts: Microsoft, "FAT: General Overview of On-Disk Format" and "exFAT file system".
void refuseForeignFileSystem(const ByteSource& partition);

} // namespace hdi
