#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace hdi {

// Chunks that are whole bzip2 streams, by libbz2. See Codec for what the functions promise.
bool decodeBzip2(std::span<const std::byte> stored, std::span<std::byte> into);
std::vector<std::byte> encodeBzip2(std::span<const std::byte> raw);

} // namespace hdi
