#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace hdi {

// Files that macOS stores compressed: an attribute (com.apple.decmpfs) says how and how long the contents are,
// and holds them if they are short; else they stand in the resource fork, in blocks of 64 KiB packed one by one.
//
//   type  contents       packed as
//   1     attribute      not at all
//   3, 4  attribute, fork  zlib
//   7, 8  attribute, fork  LZVN
//   9, 10 attribute, fork  not at all, behind a marker byte
//   11, 12 attribute, fork LZFSE
//
// A first byte that no packed block begins with marks a block that is stored as it is.
//
// Pure functions. Facts: Apple's published decmpfs.h (header, magic, type 1), the tables in the documentation of
// libfshfs and The Sleuth Kit (the other types), and files made by macOS.

inline constexpr std::size_t kDecmpfsBlockBytes = 64ULL * 1024;

struct DecmpfsHeader {
    std::uint32_t type = 0;
    std::uint64_t size = 0; // of the contents, unpacked
};

inline constexpr std::size_t kDecmpfsHeaderBytes = 16;

// Absent when `attribute` does not begin with such a header.
std::optional<DecmpfsHeader> parseDecmpfsHeader(std::span<const std::byte> attribute);

// The contents stand in the resource fork.
bool isInResourceFork(std::uint32_t type);

// All of the contents, of a type that keeps them in the attribute; `packed` is what follows the header. Throws
// ImageError: kDamaged when they are not exactly header.size long, or when so few bytes cannot unpack to so many;
// kUnsupported for an unknown type.
std::vector<std::byte> unpackInline(const DecmpfsHeader& header, std::span<const std::byte> packed);

// One block of the contents, of a type that keeps them in the resource fork; shorter than the others only at the end.
// Needs memory for one block, whatever size the header claims. Throws ImageError as above.
std::vector<std::byte> unpackBlock(const DecmpfsHeader& header, const ByteSource& resourceFork, std::uint64_t block);

} // namespace hdi
