#pragma once

#include "hdiutil/volume/HfsCatalog.h"

#include <cstdint>
#include <span>
#include <vector>

namespace hdi::hfs {

// The places in `entries` (sorted by parent) through which a folder would be inside itself, as a hostile volume's hard
// links of folders can make it. `isFolder` says of each entry whether it leads to one. Throws ImageError (kDamaged)
// when more than ten million paths lead from the root, which nobody could walk.
std::vector<std::size_t> findCircles(std::span<const Entry> entries, const std::vector<bool>& isFolder);

} // namespace hdi::hfs
