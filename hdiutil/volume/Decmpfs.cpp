#include "hdiutil/volume/Decmpfs.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/DecmpfsCodec.h"
#include "hdiutil/volume/Numbers.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

namespace hdi {

namespace {

constexpr std::uint32_t kMagic = 0x636D7066;
// The longest contents an attribute is believed to hold. macOS keeps an attribute below 4 KiB, and zlib, which
// packs best, makes at most 1,032 bytes of one.
constexpr std::uint64_t kMaxInlineBytes = 4ULL * 1024 * 1024;
// A block that does not shrink is stored as it is, so it never grows by more than its marker; twice is generous.
constexpr std::uint32_t kMaxPackedBytes = 2 * kDecmpfsBlockBytes;

struct Place {
    std::uint64_t offset;
    std::uint32_t length;
};

void readFork(const ByteSource& fork, std::uint64_t offset, std::span<std::byte> into) {
    if (offset > fork.size() || into.size() > fork.size() - offset) {
        damaged("a compressed file's blocks lie outside its resource fork");
    }
    fork.read(offset, into);
}

// zlib's blocks stand in a resource: the fork's own header says where, then come the length, the number of blocks and
// for each its offset from that number, and its length.
Place findZlibBlock(const ByteSource& fork, std::uint64_t block) {
    std::array<std::byte, 8> bytes{};
    readFork(fork, 0, std::span(bytes).first(4));
    const std::uint64_t table = static_cast<std::uint64_t>(be32(bytes, 0)) + 4;
    readFork(fork, table, std::span(bytes).first(4));
    if (block >= le32(bytes, 0)) {
        damaged("a compressed file has fewer blocks than its length needs");
    }
    readFork(fork, table + 4 + 8 * block, bytes);
    return {table + le32(bytes, 0), le32(bytes, 4)};
}

// The others: the offsets of all blocks and of the end, from the beginning of the fork. The first one is also the
// length of that table.
Place findPlainBlock(const ByteSource& fork, std::uint64_t block) {
    std::array<std::byte, 8> bytes{};
    readFork(fork, 0, std::span(bytes).first(4));
    if (block + 1 >= le32(bytes, 0) / 4) {
        damaged("a compressed file has fewer blocks than its length needs");
    }
    readFork(fork, 4 * block, bytes);
    const std::uint32_t begin = le32(bytes, 0);
    const std::uint32_t end = le32(bytes, 4);
    if (end < begin) {
        damaged("a compressed file's blocks are out of order");
    }
    return {begin, end - begin};
}

} // namespace

std::optional<DecmpfsHeader> parseDecmpfsHeader(std::span<const std::byte> attribute) {
    if (attribute.size() < kDecmpfsHeaderBytes || le32(attribute, 0) != kMagic) {
        return std::nullopt;
    }
    return DecmpfsHeader{le32(attribute, 4), le64(attribute, 8)};
}

bool isInResourceFork(std::uint32_t type) {
    return type == 4 || type == 8 || type == 10 || type == 12;
}

std::vector<std::byte> unpackInline(const DecmpfsHeader& header, std::span<const std::byte> packed) {
    if (header.size > kMaxInlineBytes) {
        damaged("a compressed file's attribute cannot hold as much as it claims");
    }
    return unpackDecmpfs(header.type, packed, static_cast<std::size_t>(header.size));
}

std::vector<std::byte> unpackBlock(const DecmpfsHeader& header, const ByteSource& resourceFork, std::uint64_t block) {
    // The tables' numbers are 32 bits wide, so that no more blocks can exist.
    if (block > std::numeric_limits<std::uint32_t>::max() || block * kDecmpfsBlockBytes >= header.size) {
        damaged("a compressed file is longer than its blocks");
    }
    const Place place = header.type == 4 ? findZlibBlock(resourceFork, block) : findPlainBlock(resourceFork, block);
    if (place.length > kMaxPackedBytes) {
        damaged("a compressed block is longer than the block itself");
    }
    std::vector<std::byte> packed(place.length);
    readFork(resourceFork, place.offset, packed);
    const std::uint64_t rest = header.size - block * kDecmpfsBlockBytes;
    return unpackDecmpfs(header.type, packed,
                         static_cast<std::size_t>(std::min<std::uint64_t>(rest, kDecmpfsBlockBytes)));
}

} // namespace hdi
