#include "hdiutil/image/Codec.h"

#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/Lzfse.h"

#include <bzlib.h>
#include <libdeflate.h>
#include <lzma.h>

#include <memory>

namespace hdi {

namespace {

// More than the dictionary of the strongest preset needs, so that only hostile chunks are refused.
constexpr std::uint64_t kLzmaMemory = std::uint64_t{80} * 1024 * 1024;

constexpr std::size_t kZlibHeader = 2;

bool decodeZlib(std::span<const std::byte> stored, std::span<std::byte> into) {
    using Decompressor = std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>;
    thread_local const Decompressor decompressor(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    if (!decompressor || stored.size() < kZlibHeader) {
        return false;
    }
    if constexpr (!kCompareChecksums) {
        const auto bare = stored.subspan(kZlibHeader);
        return libdeflate_deflate_decompress(decompressor.get(), bare.data(), bare.size(), into.data(), into.size(),
                                             nullptr) == LIBDEFLATE_SUCCESS;
    }
    return libdeflate_zlib_decompress(decompressor.get(), stored.data(), stored.size(), into.data(), into.size(),
                                      nullptr) == LIBDEFLATE_SUCCESS;
}

bool decodeBzip2(std::span<const std::byte> stored, std::span<std::byte> into) {
    auto length = static_cast<unsigned>(into.size());
    // The library's interface has no const; it does not write there.
    auto* source = const_cast<char*>(reinterpret_cast<const char*>(stored.data()));
    const int result = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(into.data()), &length, source,
                                                  static_cast<unsigned>(stored.size()), 0, 0);
    return result == BZ_OK && length == into.size();
}

bool decodeLzma(std::span<const std::byte> stored, std::span<std::byte> into) {
    std::uint64_t memory = kLzmaMemory;
    std::size_t read = 0;
    std::size_t written = 0;
    const lzma_ret result =
        lzma_stream_buffer_decode(&memory, kCompareChecksums ? 0 : LZMA_IGNORE_CHECK, nullptr,
                                  reinterpret_cast<const std::uint8_t*>(stored.data()), &read, stored.size(),
                                  reinterpret_cast<std::uint8_t*>(into.data()), &written, into.size());
    return result == LZMA_OK && written == into.size();
}

} // namespace

bool decodeChunk(RunType type, std::span<const std::byte> stored, std::span<std::byte> into) {
    switch (type) {
    case RunType::kZlib:
        return decodeZlib(stored, into);
    case RunType::kBzip2:
        return decodeBzip2(stored, into);
    case RunType::kLzma:
        return decodeLzma(stored, into);
    case RunType::kAdc:
        return decodeAdc(stored, into);
    case RunType::kLzfse:
        return decodeLzfse(stored, into);
    default:
        return false;
    }
}

} // namespace hdi
