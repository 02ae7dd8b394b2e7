#pragma once

#include "hdiutil/image/UdifTable.h"

#include <cstddef>
#include <span>
#include <vector>

namespace hdi {

// A chunk as it is stored.
struct EncodedChunk {
    RunType type = RunType::kZero;
    std::vector<std::byte> stored; // nothing for zeros
};

// Encodes a chunk by the codec for `type`, which is one that can. Zeros are left out, and what does not get smaller is
// stored as it is.
//
// Threads: any number at once; each keeps its compressor's memory for its next chunk.
EncodedChunk encodeChunk(RunType type, std::span<const std::byte> raw);

} // namespace hdi
