#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hdi::apfs {

// Where an APFS container keeps its metadata, so far as the library reads it to show files. Every such object carries a
// checksum of itself, which the library does not look at.
//
// Facts: Apple, "Apple File System Reference".
struct Metadata {
    struct Object {
        std::uint64_t offset; // in the partition
        std::size_t length;
    };
    // A superblock without its key bag, and with the checksum that it then has.
    struct Superblock {
        std::uint64_t offset;
        std::vector<std::byte> bytes;
    };
    struct VolumeFacts {
        std::string name; // as stored
        bool isEncrypted;
    };

    std::vector<Object> objects;         // by their offsets
    std::vector<Superblock> superblocks; // those that name a key bag
    std::vector<VolumeFacts> volumes;    // in the order of the container
};

// Reads the superblocks, the object maps and the volumes' superblocks, which are checked on the way; the nodes of the
// volumes' trees are only noted. Throws ImageError: kDamaged when a checksum does not match, kUnsupported.
Metadata findMetadata(const ByteSource& partition);

// The checksum that an object of at least 32 bytes should carry in its first eight, and whether it does.
std::uint64_t checksumOf(std::span<const std::byte> object);
bool isIntact(std::span<const std::byte> object);

// The partition with every object checked when it is first read; reading a damaged one throws ImageError (kDamaged).
// The container's key bag does not show: the library of Debian 12 cannot open it, and then opens nothing; without it
// the volumes that are not encrypted can be read.
ByteSourcePtr checkedPartition(const ByteSourcePtr& partition, const Metadata& metadata);

} // namespace hdi::apfs
