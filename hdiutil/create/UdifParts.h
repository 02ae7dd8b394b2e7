#pragma once

#include "hdiutil/image/UdifPlist.h"
#include "hdiutil/image/UdifTable.h"
#include "hdiutil/image/UdifTrailer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hdi {

// The parts of a UDIF image as bytes: the other way round of parseUdifTable, parseUdifPlist and readUdifTrailer.

// `number` is the table's place among all, `chunkSectors` the most sectors that a compressed run has. Offsets of runs
// count from the beginning of the data fork, their sectors from the beginning of the disk.
std::vector<std::byte> udifTableBytes(const UdifTable& table, std::size_t number, std::uint64_t chunkSectors);

// The property list that holds `tables`, which are what udifTableBytes() gives, under `names`, and `others`.
std::vector<std::byte> udifPlistBytes(std::span<const std::vector<std::byte>> tables,
                                      std::span<const std::string> names, const Resources& others = {});

std::array<std::byte, UdifTrailer::kSize> udifTrailerBytes(const UdifTrailer& trailer);

} // namespace hdi
