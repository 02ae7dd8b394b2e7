#pragma once

#include "hdiutil/image/BackReferences.h"

#include <cstddef>
#include <span>

namespace hdi {

// Decodes the payload of an LZVN block, up to its end mark, behind what `out` holds already; it may refer to that.
// False when it is damaged or does not give exactly `rawBytes`.
bool decodeLzvn(std::span<const std::byte> payload, BackReferences& out, std::size_t rawBytes);

} // namespace hdi
