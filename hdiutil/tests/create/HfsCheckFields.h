#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hdi::test {

// The single fields of a volume's structures: reserved ones are zero, flags are among those that TN1150 names for that
// kind of record, and sizes are ones that the format allows. What several records say of each other is HfsCheck's.

using Problems = std::vector<std::string>;

// What is zero from `begin` up to `end`.
void expectZero(std::span<const std::byte> bytes, std::size_t begin, std::size_t end, const std::string& what,
                Problems& problems);

// The 512 bytes of a volume header without a journal, an attributes file or a startup file.
void checkHeaderFields(std::span<const std::byte> header, Problems& problems);
// The 80 bytes of a fork at `at`: extents without gaps, nothing behind the last.
void checkForkFields(std::span<const std::byte> bytes, std::size_t at, const std::string& what, Problems& problems);
// The length that a system file's fork grows by: a multiple of the block size of at most a quarter of the volume, or
// what its first extent has.
void checkClump(std::span<const std::byte> header, std::size_t at, const std::string& what, Problems& problems);

// A key of the catalog with its data.
void checkKeyFields(std::span<const std::byte> key, Problems& problems);
void checkFolderFields(std::span<const std::byte> record, bool isHfsx, Problems& problems);
void checkFileFields(std::span<const std::byte> record, Problems& problems);
void checkThreadFields(std::span<const std::byte> record, Problems& problems);

} // namespace hdi::test
