#include "hdiutil/tests/volume/HfsBuilder.h"

#include "hdiutil/create/HfsTreeWriter.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/volume/HfsNames.h"

namespace hdi::test {

namespace {

void put16(Bytes& bytes, std::size_t at, std::size_t value) {
    storeBig<std::uint16_t>(bytes, at, static_cast<std::uint16_t>(value));
}

void put32(Bytes& bytes, std::size_t at, std::uint32_t value) {
    storeBig<std::uint32_t>(bytes, at, value);
}

void pad(Bytes& bytes, std::size_t unit) {
    bytes.resize((bytes.size() + unit - 1) / unit * unit);
}

Bytes extentBytes(const hfs::ExtentRecord& record) {
    Bytes bytes(hfs::kExtentRecordBytes);
    for (std::size_t i = 0; i < record.size(); ++i) {
        put32(bytes, 8 * i, record[i].start);
        put32(bytes, 8 * i + 4, record[i].count);
    }
    return bytes;
}

} // namespace

HfsBuilder::HfsBuilder(Names names, const std::u16string& volumeName) : names_(names), volume_(4 * kBlock) {
    HfsFolderItem root;
    root.id = kRoot;
    root.mode = S_IFDIR | 0755;
    record(1, volumeName, folderRecord(root));
    thread(kRoot, true, 1, volumeName);
}

void HfsBuilder::record(std::uint32_t parent, const std::u16string& name, const Bytes& data) {
    entries_.push_back({parent, name, data});
}

void HfsBuilder::thread(std::uint32_t id, bool ofFolder, std::uint32_t parent, const std::u16string& name) {
    record(id, {}, threadRecord(ofFolder, parent, name));
}

void HfsBuilder::attribute(std::uint32_t id, const std::u16string& name, const Bytes& value) {
    attributes_[{id, name}] = value;
}

std::uint32_t HfsBuilder::folder(std::uint32_t parent, const std::u16string& name, HfsFolderItem item) {
    item.id = nextId_++;
    if (item.mode == 0) {
        item.mode = S_IFDIR | 0755;
    }
    record(parent, name, folderRecord(item));
    thread(item.id, true, parent, name);
    return item.id;
}

std::uint32_t HfsBuilder::file(std::uint32_t parent, const std::u16string& name, const Bytes& contents,
                               HfsFileItem item) {
    item.id = nextId_++;
    if (item.data.logicalSize == 0) {
        item.data = place(item.id, 0, contents, fragment_);
    }
    record(parent, name, fileRecord(item));
    thread(item.id, false, parent, name);
    return item.id;
}

std::uint32_t HfsBuilder::symlink(std::uint32_t parent, const std::u16string& name, const std::string& target) {
    HfsFileItem item;
    item.mode = S_IFLNK | 0755;
    item.type = hfs::kSymlinkType;
    item.creator = hfs::kSymlinkCreator;
    return file(parent, name, bytesOf(target), item);
}

std::uint32_t HfsBuilder::fileLink(std::uint32_t parent, const std::u16string& name, std::uint32_t reference) {
    HfsFileItem item;
    item.mode = S_IFREG | 0444;
    item.type = hfs::kFileLinkType;
    item.creator = hfs::kFileLinkCreator;
    item.special = reference;
    return file(parent, name, {}, item);
}

std::uint32_t HfsBuilder::folderLink(std::uint32_t parent, const std::u16string& name, std::uint32_t reference) {
    HfsFileItem item;
    item.flags |= hfs::kLinkChainFlag;
    item.mode = S_IFREG | 0444;
    item.type = hfs::kFolderLinkType;
    item.creator = hfs::kFolderLinkCreator;
    item.special = reference;
    return file(parent, name, {}, item);
}

std::uint32_t HfsBuilder::compressed(std::uint32_t parent, const std::u16string& name, std::uint32_t type,
                                     std::uint64_t size, const Bytes& inAttribute, const Bytes& resourceFork) {
    Bytes header(16);
    storeLittle<std::uint32_t>(header, 0, 0x636D7066);
    storeLittle<std::uint32_t>(header, 4, type);
    storeLittle<std::uint64_t>(header, 8, size);
    HfsFileItem item;
    item.mode = S_IFREG | 0644;
    item.ownerFlags = hfs::kCompressedOwnerFlag;
    item.resources = place(nextId_, 0xFF, resourceFork, fragment_);
    attribute(nextId_, u"com.apple.decmpfs", header + inAttribute);
    return file(parent, name, {}, item);
}

hfs::Fork HfsBuilder::place(std::uint32_t id, std::uint8_t forkType, const Bytes& contents, std::uint32_t fragment) {
    hfs::Fork fork;
    fork.logicalSize = contents.size();
    fork.totalBlocks = static_cast<std::uint32_t>((contents.size() + kBlock - 1) / kBlock);
    std::vector<hfs::Extent> extents;
    for (std::uint32_t done = 0; done < fork.totalBlocks;) {
        const std::uint32_t count = fragment == 0 ? fork.totalBlocks : std::min(fragment, fork.totalBlocks - done);
        if (fragment != 0) {
            volume_.resize(volume_.size() + kBlock, std::byte{0xEE}); // nobody's block
        }
        extents.push_back({static_cast<std::uint32_t>(volume_.size() / kBlock), count});
        const auto begin = contents.begin() + static_cast<std::ptrdiff_t>(done * kBlock);
        const auto length = std::min<std::size_t>(count * kBlock, contents.size() - done * kBlock);
        volume_.insert(volume_.end(), begin, begin + static_cast<std::ptrdiff_t>(length));
        pad(volume_, kBlock);
        done += count;
    }
    std::uint32_t fileBlock = 0;
    for (std::size_t i = 0; i < extents.size(); ++i) {
        if (i < 8) {
            fork.extents[i] = extents[i];
        } else {
            overflow_[{id, forkType, fileBlock - (i % 8 == 0 ? 0 : fragment * static_cast<std::uint32_t>(i % 8))}]
                     [i % 8] = extents[i];
        }
        fileBlock += extents[i].count;
    }
    return fork;
}

Bytes HfsBuilder::makeCatalog() const {
    const bool binary = names_ == Names::kHfsxBinary;
    std::vector<Entry> sorted = entries_;
    std::stable_sort(sorted.begin(), sorted.end(), [binary](const Entry& a, const Entry& b) {
        return a.parent != b.parent ? a.parent < b.parent : hfs::compareNames(a.name, b.name, binary) < 0;
    });
    HfsTreeWriter::Kind kind = HfsTreeWriter::catalogKind(binary);
    kind.nodeSize = nodeSize_;
    HfsTreeWriter tree(kind);
    for (const Entry& entry : sorted) {
        tree.add(catalogKey(entry.parent, entry.name), entry.data);
    }
    return tree.finish();
}

Bytes HfsBuilder::makeExtents() const {
    HfsTreeWriter::Kind kind = HfsTreeWriter::extentsKind();
    kind.nodeSize = nodeSize_;
    HfsTreeWriter tree(kind);
    for (const auto& [place, extents] : overflow_) {
        Bytes key(10);
        key[0] = std::byte{std::get<1>(place)};
        put32(key, 2, std::get<0>(place));
        put32(key, 6, std::get<2>(place));
        tree.add(key, extentBytes(extents));
    }
    return tree.finish();
}

Bytes HfsBuilder::makeAttributes() const {
    const std::uint16_t nodeSize = nodeSize_ == 4096 ? 8192 : nodeSize_;
    const HfsTreeWriter::Kind kind{nodeSize, 266, 0, true};
    HfsTreeWriter tree(kind);
    for (const auto& [place, value] : attributes_) {
        Bytes key(12 + 2 * place.second.size());
        put32(key, 2, place.first);
        put16(key, 10, place.second.size());
        for (std::size_t i = 0; i < place.second.size(); ++i) {
            put16(key, 12 + 2 * i, place.second[i]);
        }
        Bytes data(16);
        put32(data, 0, 0x10);
        put32(data, 12, static_cast<std::uint32_t>(value.size()));
        tree.add(key, data + value);
    }
    return tree.finish();
}

Bytes HfsBuilder::build() {
    HfsHeaderItem header;
    header.isHfsx = names_ != Names::kHfsPlus;
    header.blockSize = std::uint32_t{kBlock};
    header.nextId = nextId_;
    for (const Entry& entry : entries_) {
        const auto type = loadBig<std::uint16_t>(entry.data, 0);
        header.folderCount += type == hfs::kFolderRecord && entry.parent != hfs::kRootParentId ? 1 : 0;
        header.fileCount += type == hfs::kFileRecord ? 1 : 0;
    }
    header.catalogFile = place(hfs::kCatalogFileId, 0, makeCatalog(), fragmentCatalog_ ? 1 : 0);
    header.extentsFile = place(hfs::kExtentsFileId, 0, makeExtents(), 0);
    if (!attributes_.empty()) {
        header.attributesFile = place(hfs::kAttributesFileId, 0, makeAttributes(), 0);
    }
    volume_.resize(volume_.size() + 2 * kBlock);
    header.totalBlocks = static_cast<std::uint32_t>(volume_.size() / kBlock);
    const Bytes bytes = volumeHeader(header);
    std::copy(bytes.begin(), bytes.end(), volume_.begin() + 1024);
    std::copy(bytes.begin(), bytes.end(), volume_.end() - 1024);
    return volume_;
}

Bytes HfsBuilder::wrapped(const Bytes& volume) {
    constexpr std::size_t kUnit = 1024;
    Bytes bytes(2560);
    put16(bytes, 1024, 0x4244);
    put32(bytes, 1024 + 0x14, kUnit);
    put16(bytes, 1024 + 0x1C, 5); // where its blocks begin, in sectors
    put16(bytes, 1024 + 0x7C, 0x482B);
    put16(bytes, 1024 + 0x7E, 3);
    put16(bytes, 1024 + 0x80, (volume.size() + kUnit - 1) / kUnit);
    bytes.resize(bytes.size() + 3 * kUnit, std::byte{0xEE});
    Bytes inner = volume;
    pad(inner, kUnit);
    return bytes + inner;
}

} // namespace hdi::test
