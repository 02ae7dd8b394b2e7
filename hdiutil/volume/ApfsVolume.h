#pragma once

#include "hdiutil/volume/ApfsContainer.h"
#include "hdiutil/volume/Decmpfs.h"
#include "hdiutil/volume/Volume.h"

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace hdi {

// A volume in Apple's APFS format, read by libfsapfs. Files that macOS stores compressed are unpacked by our own
// Decmpfs, since the library knows only some of the ways. Snapshots, extended attributes and resource forks do not
// show.
//
// Threads: any number at once, one at a time inside the library.
class ApfsVolume final : public Volume {
public:
    // Every readable volume of the container. Throws ImageError: kEncrypted when all of them are encrypted, kDamaged.
    static std::vector<std::unique_ptr<Volume>> openAll(const ByteSourcePtr& partition);

    ApfsVolume(std::shared_ptr<ApfsContainer> container, apfs::LibraryVolume volume);
    ~ApfsVolume() override;

    const std::string& name() const override { return name_; }
    std::uint64_t capacity() const override { return capacity_; }
    std::uint64_t freeSpace() const override { return freeSpace_; }
    NodeId root() const override { return 2; }

    Attributes attributes(NodeId node) const override;
    std::vector<DirectoryEntry> list(NodeId folder) const override;
    std::optional<NodeId> lookUp(NodeId folder, std::string_view name) const override;
    std::size_t read(NodeId file, std::uint64_t offset, std::span<std::byte> into) const override;
    std::string linkTarget(NodeId link) const override;

private:
    // A file whose entry is kept open, since opening one walks trees.
    struct OpenFile {
        NodeId node = 0;
        apfs::FileEntry entry;
        Attributes attributes;
        std::optional<DecmpfsHeader> compression;
        std::vector<std::byte> inlineContents;
        std::shared_ptr<const ByteSource> resourceFork;
        std::uint64_t blockNumber = 0;
        std::vector<std::byte> block; // unpacked last
    };

    // A folder's names, and the same as they are compared.
    struct Folder {
        std::vector<DirectoryEntry> entries;
        std::unordered_map<std::string, NodeId> exact;
        std::unordered_map<std::u16string, NodeId> folded;
    };

    // All with the mutex held.
    OpenFile& opened(NodeId node) const;
    // All but a file's size.
    Attributes readAttributes(libfsapfs_file_entry_t* entry) const;
    void openCompressed(OpenFile& file) const;
    std::vector<std::byte> readAttribute(libfsapfs_extended_attribute_t* attribute) const;
    std::size_t readCompressed(OpenFile& file, std::uint64_t offset, std::span<std::byte> into) const;
    const Folder& folderOf(NodeId node) const;
    Folder readFolder(NodeId node) const;
    std::u16string keyOf(std::string_view name) const;

    std::shared_ptr<ApfsContainer> container_;
    apfs::LibraryVolume volume_;
    std::string name_;
    std::uint64_t capacity_ = 0;
    std::uint64_t freeSpace_ = 0;
    bool caseSensitive_ = false;
    mutable std::list<OpenFile> files_; // the last used first
    mutable std::unordered_map<NodeId, Attributes> attributes_;
    mutable std::unordered_map<NodeId, Folder> folders_;
};

} // namespace hdi
