#pragma once

#include "hdiutil/image/ByteSource.h"

#include <string>

namespace hdi {

enum class HfsKind { kPlus, kX }; // HFSX tells upper from lower case

// A volume of at least so many bytes with everything in `sourceFolder`, with nothing when that is empty: modes, owners,
// times, links, hard links. Only the catalog is made now and kept in memory (about 500 bytes a file); contents are read
// from the source when their bytes are asked for, on any number of threads at once. Extended attributes do not come
// along, nor do holes: they become zeros.
//
// Throws ImageError, naming the path, as scanHfsSource does; kUnsupported also for an unusable volume name. Reading
// throws kIo when a file can no longer be read, or has changed since: an image of two states is no image.
ByteSourcePtr createHfsPlus(const std::string& sourceFolder, const std::string& volumeName, HfsKind kind,
                            std::uint64_t leastBytes = 0);

} // namespace hdi
