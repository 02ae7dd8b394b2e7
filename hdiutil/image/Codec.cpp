#include "hdiutil/image/Codec.h"

#include "hdiutil/image/Adc.h"
#include "hdiutil/image/Bzip2.h"
#include "hdiutil/image/Lzfse.h"
#include "hdiutil/image/LzfseEncoder.h"
#include "hdiutil/image/Lzma.h"
#include "hdiutil/image/Zlib.h"

#include <algorithm>

namespace hdi {
namespace {

constexpr std::uint64_t kHalfMebibyte = 1024; // sectors
constexpr std::uint64_t kMebibyte = 2048;

// Never shorter: such chunks are stored as they are.
std::vector<std::byte> encodeNothing(std::span<const std::byte>) {
    return {};
}

std::vector<std::byte> encodeShorterLzfse(std::span<const std::byte> raw) {
    std::vector<std::byte> stored = encodeLzfse(raw);
    return stored.size() < raw.size() ? stored : std::vector<std::byte>();
}

// clang-format off
constexpr Codec kCodecs[] = {
    {RunType::kRaw,   "UDRO", "UDIF read-only",                    nullptr,     encodeNothing,      kHalfMebibyte},
    {RunType::kZlib,  "UDZO", "UDIF read-only compressed (zlib)",  decodeZlib,  encodeZlib,         kHalfMebibyte},
    {RunType::kBzip2, "UDBZ", "UDIF read-only compressed (bzip2)", decodeBzip2, encodeBzip2,        kMebibyte},
    {RunType::kLzma,  "ULMO", "UDIF read-only compressed (lzma)",  decodeLzma,  encodeLzma,         kMebibyte},
    {RunType::kLzfse, "ULFO", "UDIF read-only compressed (lzfse)", decodeLzfse, encodeShorterLzfse, kHalfMebibyte},
    {RunType::kAdc,   "UDCO", "UDIF read-only compressed (ADC)",   decodeAdc,   nullptr,            kHalfMebibyte},
};
// clang-format on

template <typename Wanted>
const Codec* find(Wanted Codec::*field, Wanted value) {
    const auto* const found = std::ranges::find(kCodecs, value, field);
    return found == std::end(kCodecs) ? nullptr : found;
}

} // namespace

std::span<const Codec> codecs() {
    return kCodecs;
}

const Codec* codecOf(RunType type) {
    return find(&Codec::type, type);
}

const Codec* codecOf(std::string_view format) {
    return find(&Codec::format, format);
}

bool decodeChunk(RunType type, std::span<const std::byte> stored, std::span<std::byte> into) {
    const Codec* const codec = codecOf(type);
    return codec != nullptr && codec->decode != nullptr && codec->decode(stored, into);
}

} // namespace hdi
