#pragma once

#include "hdiutil/volume/Volume.h"

#include <cstddef>
#include <cstdint>

namespace hdi::test {

// What a walk met.
struct Walked {
    std::size_t entries = 0;
    std::size_t errors = 0; // ImageErrors of single files
    std::uint64_t bytes = 0;
};

// Lists, looks up and reads everything on a volume, of each file the beginning and the end (64 KiB) and of at most
// 50,000 entries. An error of one file does not stop it. A stack of its own: the volume may be hostile.
Walked walk(const Volume& volume);

} // namespace hdi::test
