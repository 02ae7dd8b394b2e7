#pragma once

#include "hdiutil/image/LzfseFormat.h"

#include <cstddef>
#include <optional>
#include <span>

namespace hdi::lzfse {

// The header of a block with tables, of either kind, at the beginning of `bytes`. Absent when it does not fit them or
// when a count, a state or a table is beyond its bounds.
std::optional<Header> parseHeader(std::span<const std::byte> bytes);

} // namespace hdi::lzfse
