#pragma once

#include "hdiutil/image/UdifTable.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace hdi {

// One way to store the chunks of an image, and the format of an image whose chunks are stored so. All that is known of
// it stands in its row of the table in Codec.cpp; README.md tells how to add one.
struct Codec {
    RunType type;
    std::string_view format;      // "UDZO"
    std::string_view description; // "UDIF read-only compressed (zlib)"
    // False when the chunk is damaged or does not fill `into` exactly; `into` then holds anything. Null where chunks
    // are stored as they are.
    bool (*decode)(std::span<const std::byte> stored, std::span<std::byte> into);
    // Nothing when the result would not be shorter than `raw`. Null where no image is made with it.
    std::vector<std::byte> (*encode)(std::span<const std::byte> raw);
    // What an image is made with. Larger chunks compress better; smaller ones are decoded sooner.
    std::uint64_t chunkSectors;
};
// Threads: both functions any number at once; each thread keeps its memory for its next chunk.

// All rows, in the order in which they are shown to users.
std::span<const Codec> codecs();

// Null for a kind of run, or a name, that stands in no row.
const Codec* codecOf(RunType type);
const Codec* codecOf(std::string_view format);

// Decodes one compressed chunk by its codec; false also where there is none.
bool decodeChunk(RunType type, std::span<const std::byte> stored, std::span<std::byte> into);

} // namespace hdi
