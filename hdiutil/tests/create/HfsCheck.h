#pragma once

#include "hdiutil/tests/image/TestBytes.h"

#include <string>
#include <vector>

namespace hdi::test {

// What a file-system checker would find wrong with a raw HFS+ or HFSX volume that was unmounted in order. Debian 12 has
// no fsck.hfsplus, so the rules of TN1150 that it would check stand here: both headers, the B-trees' links, counts,
// maps, keys and index nodes, threads, valences, counts of files and folders, hard-link chains, that the bitmap says
// exactly what the forks use, each block once, and in every structure its reserved fields and flags. Shares no code
// with the reader but the order of names.
std::vector<std::string> checkHfsVolume(const Bytes& volume);

} // namespace hdi::test
