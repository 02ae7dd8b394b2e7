#pragma once

#include "hdiutil/volume/HfsAttributes.h"
#include "hdiutil/volume/HfsCatalog.h"
#include "hdiutil/volume/Volume.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace hdi {

// A volume in Apple's HFS+ or HFSX format. The catalog is read once, when it is opened; contents are read when asked
// for. The journal is not replayed: images are made from volumes that were unmounted in order.
//
// Not shown: the format's private folders and journal, extended attributes, resource forks. The kernel looks at a path
// one component at a time and never asks a file for "..namedfork", so that there is no place to show them at.
//
// Threads: any number at once. Facts: TN1150.
class HfsVolume final : public Volume {
public:
    // Null when `partition` holds no such volume. An HFS+ volume inside an older HFS volume, as made for systems that
    // did not know it, is found. Throws ImageError.
    static std::unique_ptr<HfsVolume> open(const ByteSourcePtr& partition);

    HfsVolume(const ByteSourcePtr& partition, const hfs::VolumeHeader& header);

    const std::string& name() const override { return catalog_.volumeName(); }
    std::uint64_t capacity() const override;
    std::uint64_t freeSpace() const override;
    NodeId root() const override { return hfs::kRootFolderId; }

    Attributes attributes(NodeId node) const override;
    std::vector<DirectoryEntry> list(NodeId folder) const override;
    std::optional<NodeId> lookUp(NodeId folder, std::string_view name) const override;
    std::size_t read(NodeId file, std::uint64_t offset, std::span<std::byte> into) const override;
    std::string linkTarget(NodeId link) const override;

private:
    using Block = std::shared_ptr<const std::vector<std::byte>>;

    // A compressed file's header and, if short, its packed contents.
    struct Compressed {
        std::uint32_t type = 0;
        std::uint64_t size = 0;
        std::uint64_t offset = 0; // of the packed contents in the attributes file
        std::uint32_t length = 0;
    };

    const hfs::Node& nodeOf(NodeId id) const;
    static NodeKind kindOf(const hfs::Node& node);
    std::uint64_t sizeOf(const hfs::Node& node) const;
    void readCompressionHeaders();
    const Compressed* compressionOf(const hfs::Node& node) const;
    void readCompressed(const hfs::Node& node, const Compressed& how, std::uint64_t offset,
                        std::span<std::byte> into) const;
    Block blockOf(const hfs::Node& node, const Compressed& how, std::uint64_t block) const;
    std::vector<std::byte> unpack(const hfs::Node& node, const Compressed& how, std::uint64_t block) const;

    hfs::VolumeHeader header_;
    hfs::BlockSpace space_;
    hfs::OverflowExtents overflow_;
    hfs::Catalog catalog_;
    std::unique_ptr<hfs::ForkSource> attributesFile_;              // null: the volume has none
    std::vector<std::pair<std::uint32_t, Compressed>> compressed_; // by file

    // The blocks unpacked last: readers come back for the rest of one.
    struct CachedBlock {
        std::uint32_t file;
        std::uint64_t number;
        Block bytes;
    };
    mutable std::mutex cacheMutex_;
    mutable std::list<CachedBlock> cache_; // the last used first
};

} // namespace hdi
