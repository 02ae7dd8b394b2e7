#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace hdi {

// `raw` as an LZFSE stream, which may be longer than it. At most 2 GiB at a time; a chunk of an image is far below.
//
// Facts: as for decodeLzfse.
std::vector<std::byte> encodeLzfse(std::span<const std::byte> raw);

} // namespace hdi
