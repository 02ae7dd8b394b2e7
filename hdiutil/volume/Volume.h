#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hdi {

using NodeId = std::uint64_t;

enum class NodeKind { kFile, kFolder, kSymlink };

struct Attributes {
    NodeKind kind = NodeKind::kFile;
    std::uint32_t mode = 0; // permission bits only, without setuid, setgid and sticky
    std::uint32_t links = 1;
    std::uint64_t size = 0; // bytes; of a link, of its target
    std::timespec modified{};
    std::timespec changed{};
};

struct DirectoryEntry {
    std::string name; // UTF-8, safe as one path component: no slash, NUL, "." or ".."
    NodeId node;
};

// A read-only file system. Hard links are resolved: two entries may share a node. Private metadata folders and other
// forks do not show.
//
// Threads: any number at once. Errors: ImageError; kDamaged and kIo become EIO for whoever reads.
class Volume {
public:
    virtual ~Volume() = default;

    virtual const std::string& name() const = 0; // UTF-8, as stored; may hold anything
    virtual std::uint64_t capacity() const = 0;  // bytes
    virtual std::uint64_t freeSpace() const = 0; // bytes
    virtual NodeId root() const = 0;

    virtual Attributes attributes(NodeId node) const = 0;
    virtual std::vector<DirectoryEntry> list(NodeId folder) const = 0;
    // By the volume's own rules of case and Unicode normal form. Absent when there is no such entry.
    virtual std::optional<NodeId> lookUp(NodeId folder, std::string_view name) const = 0;
    // Fills `into` from `offset`; returns how many bytes there were, fewer only at the end of the file.
    virtual std::size_t read(NodeId file, std::uint64_t offset, std::span<std::byte> into) const = 0;
    // The target as stored, in UTF-8.
    virtual std::string linkTarget(NodeId link) const = 0;
};

// The volumes of a partition: one for HFS+ and HFSX, any number for APFS, none when the file system is not known.
// Throws ImageError when it is known but damaged, encrypted or not supported.
std::vector<std::unique_ptr<Volume>> openVolumes(const ByteSourcePtr& partition);

} // namespace hdi
