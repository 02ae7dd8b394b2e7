#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hdi {

// One packed block, or one attribute's contents, to exactly `size` bytes by the rules of a compression type. Throws
// ImageError: kDamaged for anything else, kUnsupported for an unknown type. Pure. See Decmpfs.h.
std::vector<std::byte> unpackDecmpfs(std::uint32_t type, std::span<const std::byte> packed, std::size_t size);

} // namespace hdi
