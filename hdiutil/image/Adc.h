#pragma once

#include <cstddef>
#include <span>

namespace hdi {

// The simple run-length and back-reference scheme of the oldest images; only read. See Codec for what it promises.
//
// Facts: J. Metz, "Mac OS disk image types", section "ADC compressed data".
bool decodeAdc(std::span<const std::byte> stored, std::span<std::byte> into);

} // namespace hdi
