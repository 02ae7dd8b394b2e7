#include "hdiutil/image/Bzip2.h"

#include <bzlib.h>

namespace hdi {
namespace {

constexpr int kLevel = 9;

} // namespace

bool decodeBzip2(std::span<const std::byte> stored, std::span<std::byte> into) {
    auto length = static_cast<unsigned>(into.size());
    // The library's interface has no const; it does not write there.
    auto* source = const_cast<char*>(reinterpret_cast<const char*>(stored.data()));
    const int result = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(into.data()), &length, source,
                                                  static_cast<unsigned>(stored.size()), 0, 0);
    return result == BZ_OK && length == into.size();
}

std::vector<std::byte> encodeBzip2(std::span<const std::byte> raw) {
    std::vector<std::byte> stored(raw.size());
    auto length = static_cast<unsigned>(stored.size() - 1);
    // The library's interface has no const; it does not write there.
    auto* source = const_cast<char*>(reinterpret_cast<const char*>(raw.data()));
    const int result = BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(stored.data()), &length, source,
                                                static_cast<unsigned>(raw.size()), kLevel, 0, 0);
    stored.resize(result == BZ_OK ? length : 0);
    return stored;
}

} // namespace hdi
