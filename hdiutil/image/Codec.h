#pragma once

#include "hdiutil/image/UdifTable.h"

#include <cstddef>
#include <span>

namespace hdi {

// Decodes one compressed chunk. False when it is damaged or does not fill `into` exactly; `into` then holds anything.
//
// Threads: any number at once; each keeps its decoder's memory for its next chunk.
bool decodeChunk(RunType type, std::span<const std::byte> stored, std::span<std::byte> into);

// The simple run-length and back-reference scheme of the oldest images.
//
// Facts: J. Metz, "Mac OS disk image types", section "ADC compressed data".
bool decodeAdc(std::span<const std::byte> stored, std::span<std::byte> into);

} // namespace hdi
