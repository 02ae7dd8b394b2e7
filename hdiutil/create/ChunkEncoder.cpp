#include "hdiutil/create/ChunkEncoder.h"

#include "hdiutil/create/LzfseEncoder.h"

#include <bzlib.h>
#include <libdeflate.h>
#include <lzma.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace hdi {

namespace {

using Bytes = std::span<const std::byte>;
using Stored = std::vector<std::byte>;

// The lowest whose chunks together are smaller than one stream of zlib's level 6; the next takes twice the time.
constexpr int kDeflateLevel = 7;
constexpr int kBzip2Level = 9;
constexpr std::uint32_t kLzmaPreset = 6;

bool isZero(Bytes raw) {
    return raw.empty() || (raw[0] == std::byte{0} && std::memcmp(raw.data(), raw.data() + 1, raw.size() - 1) == 0);
}

// Each of these gives nothing when the result would not be shorter than `raw`.

Stored encodeZlib(Bytes raw) {
    using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;
    thread_local const Compressor compressor(libdeflate_alloc_compressor(kDeflateLevel), &libdeflate_free_compressor);
    if (!compressor) {
        throw std::bad_alloc();
    }
    Stored stored(raw.size());
    stored.resize(libdeflate_zlib_compress(compressor.get(), raw.data(), raw.size(), stored.data(), stored.size() - 1));
    return stored;
}

Stored encodeBzip2(Bytes raw) {
    Stored stored(raw.size());
    auto length = static_cast<unsigned>(stored.size() - 1);
    // The library's interface has no const; it does not write there.
    auto* source = const_cast<char*>(reinterpret_cast<const char*>(raw.data()));
    const int result = BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(stored.data()), &length, source,
                                                static_cast<unsigned>(raw.size()), kBzip2Level, 0, 0);
    stored.resize(result == BZ_OK ? length : 0);
    return stored;
}

Stored encodeLzma(Bytes raw) {
    lzma_options_lzma options{};
    if (lzma_lzma_preset(&options, kLzmaPreset)) {
        return {};
    }
    // No match reaches beyond the chunk; a larger dictionary would only cost its readers memory.
    options.dict_size = std::max<std::uint32_t>(LZMA_DICT_SIZE_MIN, static_cast<std::uint32_t>(raw.size()));
    lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    Stored stored(raw.size());
    std::size_t length = 0;
    const lzma_ret result = lzma_stream_buffer_encode(
        filters, LZMA_CHECK_CRC32, nullptr, reinterpret_cast<const std::uint8_t*>(raw.data()), raw.size(),
        reinterpret_cast<std::uint8_t*>(stored.data()), &length, stored.size() - 1);
    stored.resize(result == LZMA_OK ? length : 0);
    return stored;
}

Stored encodeLzfseChunk(Bytes raw) {
    Stored stored = encodeLzfse(raw);
    return stored.size() < raw.size() ? stored : Stored();
}

EncodedChunk compressed(UdifFormat format, Bytes raw) {
    switch (format) {
    case UdifFormat::kUdro:
        return {RunType::kRaw, {}};
    case UdifFormat::kUdzo:
        return {RunType::kZlib, encodeZlib(raw)};
    case UdifFormat::kUdbz:
        return {RunType::kBzip2, encodeBzip2(raw)};
    case UdifFormat::kUlfo:
        return {RunType::kLzfse, encodeLzfseChunk(raw)};
    case UdifFormat::kUlmo:
        return {RunType::kLzma, encodeLzma(raw)};
    }
    return {};
}

} // namespace

std::uint64_t chunkSectors(UdifFormat format) {
    const bool large = format == UdifFormat::kUdbz || format == UdifFormat::kUlmo;
    return large ? 2048 : 1024;
}

EncodedChunk encodeChunk(UdifFormat format, Bytes raw) {
    if (isZero(raw)) {
        return {};
    }
    EncodedChunk chunk = compressed(format, raw);
    return chunk.stored.empty() ? EncodedChunk{RunType::kRaw, {raw.begin(), raw.end()}} : std::move(chunk);
}

} // namespace hdi
