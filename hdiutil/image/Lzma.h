#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace hdi {

// Chunks that are whole xz streams, by liblzma. See Codec for what the functions promise.
bool decodeLzma(std::span<const std::byte> stored, std::span<std::byte> into);
std::vector<std::byte> encodeLzma(std::span<const std::byte> raw);

} // namespace hdi
