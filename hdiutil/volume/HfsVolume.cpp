#include "hdiutil/volume/HfsVolume.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/volume/Decmpfs.h"
#include "hdiutil/volume/Numbers.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace hdi {

namespace {

constexpr std::uint64_t kMaxTargetBytes = 4096; // what the kernel takes as a path
constexpr std::uint32_t kDefaultMode = 0755;

std::timespec toTime(std::uint32_t stored) {
    return {static_cast<std::time_t>(stored == 0 ? 0 : static_cast<std::int64_t>(stored) - hfs::kEpochOffset), 0};
}

// One of the volume's own files. Whatever its extents say, it is not larger than the volume.
hfs::ForkSource openFork(const hfs::BlockSpace& space, const hfs::Fork& fork, const hfs::OverflowExtents& overflow,
                         std::uint32_t id) {
    if (fork.logicalSize > space.size()) {
        damaged("one of the volume's own files is larger than the volume");
    }
    std::vector<hfs::Run> runs;
    hfs::appendRuns(runs, fork, overflow, id, 0);
    return {space, std::move(runs), fork.logicalSize};
}

hfs::OverflowExtents loadOverflow(const hfs::BlockSpace& space, const hfs::VolumeHeader& header) {
    if (header.extentsFile.logicalSize == 0) {
        return {};
    }
    return hfs::readOverflowExtents(openFork(space, header.extentsFile, {}, hfs::kExtentsFileId));
}

hfs::Catalog loadCatalog(const hfs::BlockSpace& space, const hfs::VolumeHeader& header,
                         const hfs::OverflowExtents& overflow) {
    const hfs::ForkSource file = openFork(space, header.catalogFile, overflow, hfs::kCatalogFileId);
    return {file, overflow, header.signature == hfs::kXSignature, (header.attributes & hfs::kJournaledBit) != 0};
}

// The HFS+ volume inside an HFS volume, whose header says where.
ByteSourcePtr unwrap(const ByteSourcePtr& partition, std::span<const std::byte> wrapper) {
    if (be16(wrapper, 0x7C) != hfs::kPlusSignature && be16(wrapper, 0x7C) != hfs::kXSignature) {
        throw ImageError(ImageError::Kind::kUnsupported,
                         "the volume is in the old HFS format, which hfsutils (hmount, hcopy) reads");
    }
    const std::uint64_t blockSize = be32(wrapper, 0x14);
    const std::uint64_t begin = be16(wrapper, 0x1C) * 512ULL + be16(wrapper, 0x7E) * blockSize;
    const std::uint64_t length = be16(wrapper, 0x80) * blockSize;
    if (begin > partition->size() || length > partition->size() - begin) {
        damaged("the HFS+ volume inside the HFS volume lies outside it");
    }
    return slice(partition, begin, length);
}

} // namespace

std::unique_ptr<HfsVolume> HfsVolume::open(const ByteSourcePtr& partition) {
    std::array<std::byte, hfs::kHeaderBytes> bytes{};
    if (partition->size() < hfs::kHeaderOffset + bytes.size()) {
        return nullptr;
    }
    partition->read(hfs::kHeaderOffset, bytes);
    ByteSourcePtr volume = partition;
    if (be16(bytes, 0) == hfs::kWrapperSignature) {
        volume = unwrap(partition, bytes);
        if (volume->size() < hfs::kHeaderOffset + bytes.size()) {
            damaged("the HFS+ volume inside the HFS volume is too short");
        }
        volume->read(hfs::kHeaderOffset, bytes);
    }
    const auto header = hfs::parseVolumeHeader(bytes);
    return header ? std::make_unique<HfsVolume>(volume, *header) : nullptr;
}

HfsVolume::HfsVolume(const ByteSourcePtr& partition, const hfs::VolumeHeader& header)
    : header_(header), space_(partition, header.blockSize, header.totalBlocks), overflow_(loadOverflow(space_, header)),
      catalog_(loadCatalog(space_, header, overflow_)) {
    if (header.attributesFile.logicalSize != 0) {
        attributesFile_ = std::make_unique<hfs::ForkSource>(
            openFork(space_, header.attributesFile, overflow_, hfs::kAttributesFileId));
        readCompressionHeaders();
    }
    overflow_.clear(); // every file's runs are in the catalog now
}

std::uint64_t HfsVolume::capacity() const {
    return static_cast<std::uint64_t>(header_.blockSize) * header_.totalBlocks;
}

std::uint64_t HfsVolume::freeSpace() const {
    return static_cast<std::uint64_t>(header_.blockSize) * std::min(header_.freeBlocks, header_.totalBlocks);
}

const hfs::Node& HfsVolume::nodeOf(NodeId id) const {
    const hfs::Node* const node = id <= UINT32_MAX ? catalog_.find(static_cast<std::uint32_t>(id)) : nullptr;
    if (node == nullptr) {
        damaged("there is no file with that number");
    }
    return *node;
}

NodeKind HfsVolume::kindOf(const hfs::Node& node) {
    if (node.isFolder) {
        return NodeKind::kFolder;
    }
    const bool isLink = (node.mode & S_IFMT) == 0 ? node.isSymlinkByType : S_ISLNK(node.mode);
    return isLink ? NodeKind::kSymlink : NodeKind::kFile;
}

std::uint64_t HfsVolume::sizeOf(const hfs::Node& node) const {
    if (node.isFolder) {
        return 0;
    }
    const Compressed* const how = compressionOf(node);
    return how != nullptr ? how->size : node.size;
}

Attributes HfsVolume::attributes(NodeId id) const {
    const hfs::Node& node = nodeOf(id);
    Attributes attributes;
    attributes.kind = kindOf(node);
    attributes.mode = (node.mode & S_IFMT) == 0 ? kDefaultMode : node.mode & 0777U;
    attributes.links = node.links;
    attributes.size = sizeOf(node);
    attributes.modified = toTime(node.modified);
    attributes.changed = toTime(node.changed);
    return attributes;
}

std::vector<DirectoryEntry> HfsVolume::list(NodeId folder) const {
    if (!nodeOf(folder).isFolder) {
        damaged("a file was to be listed as a folder");
    }
    const auto entries = catalog_.entries(static_cast<std::uint32_t>(folder));
    std::vector<DirectoryEntry> listing;
    listing.reserve(entries.size());
    for (const hfs::Entry& entry : entries) {
        listing.push_back({std::string(catalog_.name(entry)), entry.target});
    }
    return listing;
}

std::optional<NodeId> HfsVolume::lookUp(NodeId folder, std::string_view name) const {
    if (!nodeOf(folder).isFolder) {
        return std::nullopt;
    }
    return catalog_.lookUp(static_cast<std::uint32_t>(folder), name);
}

std::size_t HfsVolume::read(NodeId file, std::uint64_t offset, std::span<std::byte> into) const {
    const hfs::Node& node = nodeOf(file);
    const std::uint64_t size = sizeOf(node);
    if (offset >= size) {
        return 0;
    }
    into = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), size - offset)));
    if (const Compressed* const how = compressionOf(node)) {
        readCompressed(node, *how, offset, into);
    } else {
        space_.read(catalog_.dataRuns(node), offset, into);
    }
    return into.size();
}

std::string HfsVolume::linkTarget(NodeId link) const {
    const hfs::Node& node = nodeOf(link);
    if (kindOf(node) != NodeKind::kSymlink) {
        damaged("a file was to be read as a link");
    }
    const std::uint64_t size = sizeOf(node);
    if (size == 0 || size > kMaxTargetBytes) {
        damaged("a link's target is empty or longer than a path can be");
    }
    std::string target(static_cast<std::size_t>(size), '\0');
    read(link, 0, std::as_writable_bytes(std::span(target)));
    target.resize(std::strlen(target.c_str())); // some writers store the end of the text, too
    if (target.empty()) {
        damaged("a link's target is empty");
    }
    return target;
}

} // namespace hdi
