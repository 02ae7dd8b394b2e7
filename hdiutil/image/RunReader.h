#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/UdifTable.h"

#include <cstddef>
#include <span>

namespace hdi {

// Fills `into`, as long as the run's sectors, with the decoded bytes of a compressed run. Throws ImageError: kIo, or
// kDamaged when it does not decode to exactly that.
//
// Threads: any number at once.
void readCompressedRun(const ByteSource& file, const UdifRun& run, std::span<std::byte> into);

} // namespace hdi
