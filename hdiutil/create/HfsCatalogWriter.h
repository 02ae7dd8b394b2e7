#pragma once

#include "hdiutil/create/HfsRecordWriter.h"
#include "hdiutil/create/HfsSourceScan.h"
#include "hdiutil/create/HfsTreeWriter.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace hdi {

// Decides where everything of a source stands on a volume, and makes the catalog of it. File contents stand one after
// the other, each in one extent, in the order of the source's items.
//
// Threads: one.
class HfsCatalogWriter {
public:
    // Contents of an item, a file or a link, at a place of the volume. Of files with several names, the first item.
    struct Content {
        std::uint32_t item;
        hfs::Extent extent;
        std::uint64_t length;
    };

    HfsCatalogWriter(const HfsSource& source, std::u16string volumeName, std::uint32_t now, std::uint32_t blockSize);

    // Gives contents their blocks from `firstBlock` on. Gives the block after them. Throws ImageError (kUnsupported)
    // when a volume has not that many.
    std::uint32_t placeContents(std::uint32_t firstBlock);
    // The catalog file; after placeContents.
    std::vector<std::byte> makeCatalog() const;

    const std::vector<Content>& contents() const { return contents_; }
    std::uint32_t fileCount() const { return fileCount_; }
    std::uint32_t folderCount() const { return folderCount_; }
    std::uint32_t nextId() const { return nextId_; }

private:
    // A file with several names: it stands in the private folder, its names are links to it.
    struct Shared {
        std::uint32_t id = 0;
        std::vector<std::uint32_t> items;
        hfs::Fork fork;
    };

    static std::uint32_t idOf(std::uint32_t item) {
        return item == 0 ? hfs::kRootFolderId : hfs::kFirstUserId + item - 1;
    }
    bool isFolder(std::uint32_t item) const { return S_ISDIR(source_.items[item].status.st_mode); }

    void findShared();
    void findChildren();
    hfs::Fork forkFor(std::uint64_t length, std::uint32_t& next) const;

    void addFolder(HfsTreeWriter& tree, std::uint32_t item) const;
    void addRecord(HfsTreeWriter& tree, std::uint32_t item) const;
    void addPrivateFolder(HfsTreeWriter& tree) const;
    void addPrivateContents(HfsTreeWriter& tree) const;
    HfsFolderItem folderItem(std::uint32_t item) const;
    HfsFileItem fileItem(std::uint32_t item) const;
    HfsFileItem linkItem(std::uint32_t item, const Shared& shared) const;
    HfsFileItem sharedItem(const Shared& shared) const;
    void fillCommon(HfsItem& record, std::uint32_t item) const;

    const HfsSource& source_;
    std::u16string volumeName_;
    std::uint32_t now_;
    std::uint32_t blockSize_;
    std::uint32_t nextId_ = 0;
    std::uint32_t privateFolderId_ = 0; // 0: none is needed
    std::uint32_t fileCount_ = 0;
    std::uint32_t folderCount_ = 0;
    std::vector<Shared> shared_;
    std::map<std::uint32_t, std::uint32_t> sharedByItem_; // item to place in shared_
    std::vector<std::uint32_t> firstChild_;               // of each item; its children stand together
    std::vector<std::uint32_t> childCount_;
    std::vector<hfs::Fork> forks_; // of each item
    std::vector<Content> contents_;
};

} // namespace hdi
