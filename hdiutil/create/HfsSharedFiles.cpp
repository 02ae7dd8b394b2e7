#include "hdiutil/create/HfsCatalogWriter.h"
#include "hdiutil/volume/HfsNames.h"

#include <algorithm>

// Hard links as macOS stores them: the file stands as "iNode<number>" in a private folder of the root, and each
// of its names is a small file with a reference to it. The links form a chain, so that all can be found from one.
//
// Facts: TN1150, "Hard Links"; the fields of the chain from the published header hfs_format.h.

namespace hdi {

namespace {

constexpr std::u16string_view kPrivateName{hfs::kFileLinkFolder, hfs::kFileLinkFolderUnits};
constexpr std::uint16_t kInvisibleAndLocked = 0x5000;
constexpr std::uint16_t kInited = 0x0100;
constexpr std::uint8_t kImmutable = 0x02;

std::u16string sharedName(std::uint32_t id) {
    return u"iNode" + hfs::toUtf16(std::to_string(id));
}

} // namespace

void HfsCatalogWriter::addPrivateFolder(HfsTreeWriter& tree) const {
    HfsFolderItem folder;
    folder.id = privateFolderId_;
    folder.created = folder.modified = folder.changed = folder.accessed = now_;
    folder.mode = S_IFDIR;
    folder.finderFlags = kInvisibleAndLocked;
    folder.valence = static_cast<std::uint32_t>(shared_.size());
    if (source_.caseSensitive) {
        folder.flags |= hfs::kFolderCountFlag;
    }
    tree.add(catalogKey(hfs::kRootFolderId, kPrivateName), folderRecord(folder));
}

void HfsCatalogWriter::addPrivateContents(HfsTreeWriter& tree) const {
    tree.add(catalogKey(privateFolderId_, {}), threadRecord(true, hfs::kRootFolderId, kPrivateName));
    std::vector<std::pair<std::u16string, const Shared*>> named;
    for (const Shared& shared : shared_) {
        named.emplace_back(sharedName(shared.id), &shared);
    }
    std::ranges::sort(named);
    for (const auto& [name, shared] : named) {
        tree.add(catalogKey(privateFolderId_, name), fileRecord(sharedItem(*shared)));
    }
    for (const Shared& shared : shared_) {
        tree.add(catalogKey(shared.id, {}), threadRecord(false, privateFolderId_, sharedName(shared.id)));
    }
}

HfsFileItem HfsCatalogWriter::linkItem(std::uint32_t item, const Shared& shared) const {
    HfsFileItem link;
    fillCommon(link, item);
    const auto place = std::ranges::find(shared.items, item);
    link.flags |= hfs::kLinkChainFlag;
    link.created = now_; // as the private folder's: that is how macOS knows a link
    link.owner = place == shared.items.begin() ? 0 : idOf(*std::prev(place));
    link.group = std::next(place) == shared.items.end() ? 0 : idOf(*std::next(place));
    link.ownerFlags = kImmutable;
    link.special = shared.id;
    link.type = hfs::kFileLinkType;
    link.creator = hfs::kFileLinkCreator;
    link.finderFlags = kInited;
    return link;
}

HfsFileItem HfsCatalogWriter::sharedItem(const Shared& shared) const {
    HfsFileItem file;
    fillCommon(file, shared.items.front());
    file.id = shared.id;
    file.flags |= hfs::kLinkChainFlag;
    file.firstLink = idOf(shared.items.front());
    file.special = static_cast<std::uint32_t>(shared.items.size());
    file.data = shared.fork;
    return file;
}

} // namespace hdi
