#pragma once

#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/image/UdifTable.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hdi {

// A chunk as it is stored.
struct EncodedChunk {
    RunType type = RunType::kZero;
    std::vector<std::byte> stored; // nothing for zeros
};

// How many sectors a chunk has. Larger ones compress better; smaller ones are decoded sooner.
std::uint64_t chunkSectors(UdifFormat format);

// Threads: any number at once; each keeps its compressor's memory for its next chunk.
EncodedChunk encodeChunk(UdifFormat format, std::span<const std::byte> raw);

} // namespace hdi
