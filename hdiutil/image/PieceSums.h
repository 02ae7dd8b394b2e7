#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace hdi {

// The CRC-32 of each piece of a file that comes from its beginning to its end, such as a download: whoever has taken
// them on the way need not read the file once more to compare its checksum. Four bytes of memory for each piece.
//
// Threads: one at a time.
class PieceSums {
public:
    static constexpr std::uint64_t kPiece = std::uint64_t{1} * 1024 * 1024;

    void add(std::span<const std::byte> bytes);
    // Of the piece that begins at index * kPiece; absent before its last byte has come.
    std::optional<std::uint32_t> of(std::size_t index) const;

private:
    std::vector<std::uint32_t> whole_;
    std::uint32_t last_ = 0;
    std::uint64_t lastLength_ = 0; // below kPiece
};

} // namespace hdi
