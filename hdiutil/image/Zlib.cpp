#include "hdiutil/image/Zlib.h"

#include "hdiutil/image/Crc32.h"

#include <libdeflate.h>

#include <memory>
#include <new>

namespace hdi {
namespace {

constexpr std::size_t kHeader = 2;
// The lowest whose chunks together are smaller than one stream of zlib's level 6; the next takes twice the time.
constexpr int kLevel = 7;

} // namespace

bool decodeZlib(std::span<const std::byte> stored, std::span<std::byte> into) {
    using Decompressor = std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>;
    thread_local const Decompressor decompressor(libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    if (!decompressor || stored.size() < kHeader) {
        return false;
    }
    if constexpr (!kCompareChecksums) {
        const auto bare = stored.subspan(kHeader);
        return libdeflate_deflate_decompress(decompressor.get(), bare.data(), bare.size(), into.data(), into.size(),
                                             nullptr) == LIBDEFLATE_SUCCESS;
    }
    return libdeflate_zlib_decompress(decompressor.get(), stored.data(), stored.size(), into.data(), into.size(),
                                      nullptr) == LIBDEFLATE_SUCCESS;
}

std::vector<std::byte> encodeZlib(std::span<const std::byte> raw) {
    using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;
    thread_local const Compressor compressor(libdeflate_alloc_compressor(kLevel), &libdeflate_free_compressor);
    if (!compressor) {
        throw std::bad_alloc();
    }
    std::vector<std::byte> stored(raw.size());
    stored.resize(libdeflate_zlib_compress(compressor.get(), raw.data(), raw.size(), stored.data(), stored.size() - 1));
    return stored;
}

} // namespace hdi
