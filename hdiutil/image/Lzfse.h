#pragma once

#include <cstddef>
#include <span>

namespace hdi {

// Decodes an LZFSE stream of any block types. False when it is damaged or does not fill `into` exactly. What follows
// the last byte of `into` in the stream is not looked at.
//
// Facts: J. Metz, "LZFSE compression format" and "LZVN compression format" (libfmos documentation).
bool decodeLzfse(std::span<const std::byte> stored, std::span<std::byte> into);

} // namespace hdi
