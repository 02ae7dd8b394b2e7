#include "hdiutil/create/HfsCatalogWriter.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsNames.h"

#include <algorithm>
#include <limits>

namespace hdi {

namespace {

constexpr std::u16string_view kPrivateName{hfs::kFileLinkFolder, hfs::kFileLinkFolderUnits};

void addThread(HfsTreeWriter& tree, std::uint32_t id, bool ofFolder, std::uint32_t parent, std::u16string_view name) {
    tree.add(catalogKey(id, {}), threadRecord(ofFolder, parent, name));
}

} // namespace

HfsCatalogWriter::HfsCatalogWriter(const HfsSource& source, std::u16string volumeName, std::uint32_t now,
                                   std::uint32_t blockSize)
    : source_(source), volumeName_(std::move(volumeName)), now_(now), blockSize_(blockSize),
      nextId_(idOf(static_cast<std::uint32_t>(source.items.size()))), forks_(source.items.size()) {
    findShared();
    findChildren();
    for (std::uint32_t item = 1; item < source_.items.size(); ++item) {
        ++(isFolder(item) ? folderCount_ : fileCount_);
    }
    fileCount_ += static_cast<std::uint32_t>(shared_.size());
    folderCount_ += privateFolderId_ != 0 ? 1 : 0;
}

// Only names inside the source count: a file that has its other names elsewhere is a plain one.
void HfsCatalogWriter::findShared() {
    std::map<std::pair<dev_t, ino_t>, std::vector<std::uint32_t>> files;
    for (std::uint32_t item = 0; item < source_.items.size(); ++item) {
        const struct stat& status = source_.items[item].status;
        if (S_ISREG(status.st_mode) && status.st_nlink > 1) {
            files[{status.st_dev, status.st_ino}].push_back(item);
        }
    }
    std::erase_if(files, [](const auto& file) { return file.second.size() < 2; });
    if (files.empty()) {
        return;
    }
    privateFolderId_ = nextId_++;
    for (auto& file : files) {
        shared_.push_back({0, std::move(file.second), {}});
    }
    std::ranges::sort(shared_, {}, [](const Shared& shared) { return shared.items.front(); });
    for (std::uint32_t i = 0; i < shared_.size(); ++i) {
        shared_[i].id = nextId_++;
        for (const std::uint32_t item : shared_[i].items) {
            sharedByItem_[item] = i;
        }
    }
}

void HfsCatalogWriter::findChildren() {
    firstChild_.resize(source_.items.size());
    childCount_.resize(source_.items.size());
    for (std::uint32_t item = 1; item < source_.items.size(); ++item) {
        const std::uint32_t parent = source_.items[item].parent;
        if (childCount_[parent]++ == 0) {
            firstChild_[parent] = item;
        }
    }
}

hfs::Fork HfsCatalogWriter::forkFor(std::uint64_t length, std::uint32_t& next) const {
    hfs::Fork fork;
    const std::uint64_t blocks = length / blockSize_ + (length % blockSize_ != 0 ? 1 : 0);
    if (blocks > std::numeric_limits<std::uint32_t>::max() / 2 - next) {
        throw ImageError(ImageError::Kind::kUnsupported, "there is too much for one volume");
    }
    fork.logicalSize = length;
    fork.totalBlocks = static_cast<std::uint32_t>(blocks);
    if (blocks != 0) {
        fork.extents[0] = {next, fork.totalBlocks};
    }
    next += fork.totalBlocks;
    return fork;
}

std::uint32_t HfsCatalogWriter::placeContents(std::uint32_t next) {
    for (std::uint32_t item = 1; item < source_.items.size(); ++item) {
        const HfsSource::Item& from = source_.items[item];
        const auto shared = sharedByItem_.find(item);
        if (isFolder(item) || (shared != sharedByItem_.end() && shared_[shared->second].items.front() != item)) {
            continue;
        }
        const std::uint64_t length =
            S_ISLNK(from.status.st_mode) ? from.target.size() : static_cast<std::uint64_t>(from.status.st_size);
        const hfs::Fork fork = forkFor(length, next);
        (shared != sharedByItem_.end() ? shared_[shared->second].fork : forks_[item]) = fork;
        if (length != 0) {
            contents_.push_back({item, fork.extents[0], length});
        }
    }
    return next;
}

// Records go by the number of the folder they are in; what stands there under the empty name is the folder's own
// thread.
std::vector<std::byte> HfsCatalogWriter::makeCatalog() const {
    HfsTreeWriter tree(HfsTreeWriter::catalogKind(source_.caseSensitive));
    tree.add(catalogKey(hfs::kRootParentId, volumeName_), folderRecord(folderItem(0)));
    for (std::uint32_t item = 0; item < source_.items.size(); ++item) {
        const HfsSource::Item& from = source_.items[item];
        addThread(tree, idOf(item), isFolder(item), item == 0 ? hfs::kRootParentId : idOf(from.parent),
                  item == 0 ? volumeName_ : from.storedName);
        if (isFolder(item)) {
            addFolder(tree, item);
        }
    }
    if (privateFolderId_ != 0) {
        addPrivateContents(tree);
    }
    return tree.finish();
}

void HfsCatalogWriter::addFolder(HfsTreeWriter& tree, std::uint32_t folder) const {
    bool isPrivateDue = folder == 0 && privateFolderId_ != 0;
    for (std::uint32_t child = firstChild_[folder]; child < firstChild_[folder] + childCount_[folder]; ++child) {
        const std::u16string& name = source_.items[child].storedName;
        if (isPrivateDue && hfs::compareNames(kPrivateName, name, source_.caseSensitive) < 0) {
            addPrivateFolder(tree);
            isPrivateDue = false;
        }
        addRecord(tree, child);
    }
    if (isPrivateDue) {
        addPrivateFolder(tree);
    }
}

void HfsCatalogWriter::addRecord(HfsTreeWriter& tree, std::uint32_t item) const {
    const HfsBytes key = catalogKey(idOf(source_.items[item].parent), source_.items[item].storedName);
    const auto shared = sharedByItem_.find(item);
    if (isFolder(item)) {
        tree.add(key, folderRecord(folderItem(item)));
    } else if (shared != sharedByItem_.end()) {
        tree.add(key, fileRecord(linkItem(item, shared_[shared->second])));
    } else {
        tree.add(key, fileRecord(fileItem(item)));
    }
}

void HfsCatalogWriter::fillCommon(HfsItem& record, std::uint32_t item) const {
    const struct stat& status = source_.items[item].status;
    record.id = idOf(item);
    record.modified = toHfsTime(status.st_mtim.tv_sec);
    record.created = item == 0 ? now_ : record.modified;
    record.changed = toHfsTime(status.st_ctim.tv_sec);
    record.accessed = toHfsTime(status.st_atim.tv_sec);
    record.owner = status.st_uid;
    record.group = status.st_gid;
    record.mode = static_cast<std::uint16_t>(status.st_mode);
}

HfsFolderItem HfsCatalogWriter::folderItem(std::uint32_t item) const {
    HfsFolderItem folder;
    fillCommon(folder, item);
    if (item == 0) {
        folder.mode = static_cast<std::uint16_t>(S_IFDIR | (folder.mode & 07777)); // the source may itself be a link
    }
    const bool withPrivate = item == 0 && privateFolderId_ != 0;
    folder.valence = childCount_[item] + (withPrivate ? 1 : 0);
    if (source_.caseSensitive) {
        folder.flags |= hfs::kFolderCountFlag;
        folder.folderCount = withPrivate ? 1 : 0;
        for (std::uint32_t child = firstChild_[item]; child < firstChild_[item] + childCount_[item]; ++child) {
            folder.folderCount += isFolder(child) ? 1 : 0;
        }
    }
    return folder;
}

HfsFileItem HfsCatalogWriter::fileItem(std::uint32_t item) const {
    HfsFileItem file;
    fillCommon(file, item);
    file.special = 1;
    file.data = forks_[item];
    if (S_ISLNK(source_.items[item].status.st_mode)) {
        file.type = hfs::kSymlinkType;
        file.creator = hfs::kSymlinkCreator;
    }
    return file;
}

} // namespace hdi
