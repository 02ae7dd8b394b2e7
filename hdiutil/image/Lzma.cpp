#include "hdiutil/image/Lzma.h"

#include "hdiutil/image/Crc32.h"

#include <lzma.h>

#include <algorithm>
#include <cstdint>

namespace hdi {
namespace {

// More than the dictionary of the strongest preset needs, so that only hostile chunks are refused.
constexpr std::uint64_t kMemory = std::uint64_t{80} * 1024 * 1024;
constexpr std::uint32_t kPreset = 6;

} // namespace

bool decodeLzma(std::span<const std::byte> stored, std::span<std::byte> into) {
    std::uint64_t memory = kMemory;
    std::size_t read = 0;
    std::size_t written = 0;
    const lzma_ret result =
        lzma_stream_buffer_decode(&memory, kCompareChecksums ? 0 : LZMA_IGNORE_CHECK, nullptr,
                                  reinterpret_cast<const std::uint8_t*>(stored.data()), &read, stored.size(),
                                  reinterpret_cast<std::uint8_t*>(into.data()), &written, into.size());
    return result == LZMA_OK && written == into.size();
}

std::vector<std::byte> encodeLzma(std::span<const std::byte> raw) {
    lzma_options_lzma options{};
    if (lzma_lzma_preset(&options, kPreset)) {
        return {};
    }
    // No match reaches beyond the chunk; a larger dictionary would only cost its readers memory.
    options.dict_size = std::max<std::uint32_t>(LZMA_DICT_SIZE_MIN, static_cast<std::uint32_t>(raw.size()));
    lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    std::vector<std::byte> stored(raw.size());
    std::size_t length = 0;
    const lzma_ret result = lzma_stream_buffer_encode(
        filters, LZMA_CHECK_CRC32, nullptr, reinterpret_cast<const std::uint8_t*>(raw.data()), raw.size(),
        reinterpret_cast<std::uint8_t*>(stored.data()), &length, stored.size() - 1);
    stored.resize(result == LZMA_OK ? length : 0);
    return stored;
}

} // namespace hdi
