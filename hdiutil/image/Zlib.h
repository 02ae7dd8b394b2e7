#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace hdi {

// Deflated chunks with zlib's header and checksum, by libdeflate. See Codec for what the functions promise.
bool decodeZlib(std::span<const std::byte> stored, std::span<std::byte> into);
std::vector<std::byte> encodeZlib(std::span<const std::byte> raw);

} // namespace hdi
