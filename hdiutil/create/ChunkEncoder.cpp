#include "hdiutil/create/ChunkEncoder.h"

#include "hdiutil/image/Codec.h"

#include <cstring>

namespace hdi {

namespace {

bool isZero(std::span<const std::byte> raw) {
    return raw.empty() || (raw[0] == std::byte{0} && std::memcmp(raw.data(), raw.data() + 1, raw.size() - 1) == 0);
}

} // namespace

EncodedChunk encodeChunk(RunType type, std::span<const std::byte> raw) {
    if (isZero(raw)) {
        return {};
    }
    EncodedChunk chunk{type, codecOf(type)->encode(raw)};
    return chunk.stored.empty() ? EncodedChunk{RunType::kRaw, {raw.begin(), raw.end()}} : std::move(chunk);
}

} // namespace hdi
