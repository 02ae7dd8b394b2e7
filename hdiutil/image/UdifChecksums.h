#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/image/PieceSums.h"
#include "hdiutil/image/UdifTable.h"
#include "hdiutil/image/UdifTrailer.h"

#include <functional>
#include <vector>

namespace hdi {

// Compares the CRC-32 of the compressed bytes. False when the trailer carries none. `sums`, when there are any, are
// those of the file's pieces, which are not read again. Throws ImageError: kDamaged, kIo.
bool verifyDataChecksum(const ByteSource& file, const UdifTrailer& trailer, unsigned threads,
                        const PieceSums* sums = nullptr);

// Decodes every run and compares each table's checksum, then the master checksum: the CRC-32 over the tables' checksums
// one after the other. Ignored runs are left out of a table's checksum, zero runs are not. Tables without a checksum
// are decoded all the same. Throws ImageError: kDamaged, kIo.
void verifyTableChecksums(const ByteSource& file, const UdifTrailer& trailer, const std::vector<UdifTable>& tables,
                          unsigned threads, const std::function<void(double)>& progress);

} // namespace hdi
