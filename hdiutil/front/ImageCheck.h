#pragma once

#include "hdiutil/image/DiskImage.h"

#include <cstdint>
#include <functional>
#include <string>

namespace hdi {

// When the checksums of an image are looked at.
enum class CheckTime { kNever, kBefore, kBeside };

// Small images are checked before anything of them shows; big ones beside the first reads, because reading 1 GiB takes
// longer than everything else together. `bytes` is what the check has to read or to decode.
inline constexpr std::uint64_t kCheckedBefore = std::uint64_t{32} * 1024 * 1024;
CheckTime checkTimeFor(const ImageFacts& facts, bool wanted);

// The data-fork checksum, or where the image carries none the checksums of its tables. Empty when all holds, else what
// does not. Any thread, once.
std::string checkImage(const DiskImage& image);

} // namespace hdi
