#pragma once

#include "hdiutil/volume/Volume.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace hdi {

// Bounds of one extraction; the values are the shipped ones.
struct ExtractLimits {
    unsigned threads = 0;              // that read and write; 0: one per core
    std::size_t depth = 200;           // folders inside each other; each holds a descriptor
    std::uint64_t entries = 4'000'000; // a folder that is linked from many places is written at each
};

// Writes all of a volume into an empty folder: files with their modes, times and hard links, symlinks as they are.
// Folders are made on the calling thread; the contents of files are read and written by several, so that decoding and
// writing overlap. Everything is created relative to an open folder and never through a link, so nothing is written
// outside. Owners are the caller's.
//
// `stop` ends the work early. Throws FrontError (the disk is full, a bound is exceeded, stopped) and ImageError; what
// was written until then stays and is the caller's to remove.
void extractVolume(const Volume& volume, const std::string& folder, const std::atomic<bool>& stop,
                   const ExtractLimits& limits = {});

} // namespace hdi
