#include "hdiutil/volume/HfsCatalogLoader.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsFolderGraph.h"
#include "hdiutil/volume/HfsNames.h"
#include "hdiutil/volume/SafeNames.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>

namespace hdi::hfs {

namespace {

constexpr std::size_t kMaxNodes = 2'000'000;
constexpr std::size_t kMaxRuns = 8'000'000;
constexpr std::size_t kMaxNameBytes = 256ULL * 1024 * 1024;
constexpr std::uint32_t kTakenOut = 0; // no folder has this number

void checkLimit(bool isWithin) {
    if (!isWithin) {
        throw ImageError(ImageError::Kind::kUnsupported, "the volume has more files than this program reads");
    }
}

// The number in "iNode123" or "dir_123".
std::optional<std::uint32_t> numberAfter(std::string_view prefix, std::string_view name) {
    if (!name.starts_with(prefix)) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    const auto parsed = std::from_chars(name.data() + prefix.size(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(number) : std::nullopt;
}

Entry::Link linkKind(const CatalogRecord& record) {
    if (record.isFolder) {
        return Entry::Link::kNone;
    }
    if (record.type == kFileLinkType && record.creator == kFileLinkCreator) {
        return Entry::Link::kFile;
    }
    // An alias file made by the Finder has the same type, but not the flag.
    if (record.type == kFolderLinkType && record.creator == kFolderLinkCreator &&
        (record.flags & kLinkChainFlag) != 0) {
        return Entry::Link::kFolder;
    }
    return Entry::Link::kNone;
}

} // namespace

void CatalogLoader::load(const ByteSource& file, const TreeHeader& header) {
    walkLeaves(file, header, [this](const LeafRecord& leaf) {
        if (const auto record = parseCatalogRecord(leaf)) {
            add(*record);
        }
    });
    sortNodes();
    const Node* const root = catalog_.find(kRootFolderId);
    if (root == nullptr || !root->isFolder) {
        damaged("the volume has no root folder");
    }
    if (!std::ranges::is_sorted(catalog_.entries_, {}, &Entry::parent)) {
        std::ranges::stable_sort(catalog_.entries_, {}, &Entry::parent);
    }
    if (hasLinks_) {
        resolveLinks();
        takeOutCircles();
    }
    std::erase_if(catalog_.entries_, [](const Entry& entry) { return entry.parent == kTakenOut; });
    countLinks();
    makeNamesUnique();
    catalog_.nodes_.shrink_to_fit(); // they stay as long as the volume is mounted
    catalog_.entries_.shrink_to_fit();
    catalog_.runs_.shrink_to_fit();
    catalog_.names_.shrink_to_fit();
}

void CatalogLoader::add(const CatalogRecord& record) {
    checkLimit(catalog_.nodes_.size() < kMaxNodes);
    addNode(record);
    if (record.parent == kRootParentId && record.id == kRootFolderId) {
        catalog_.volumeName_ = toUtf8(record.name);
        return;
    }
    if (record.isFolder && record.parent == kRootFolderId) {
        if (record.name == std::u16string_view(kFileLinkFolder, kFileLinkFolderUnits)) {
            fileLinkFolder_ = record.id;
            return;
        }
        if (record.name == kFolderLinkFolder) {
            folderLinkFolder_ = record.id;
            return;
        }
    }
    if (!isOwnFile(record)) {
        addEntry(record);
    }
}

bool CatalogLoader::isOwnFile(const CatalogRecord& record) const {
    const bool hasName = record.name == u".journal" || record.name == u".journal_info_block";
    return !record.isFolder && record.parent == kRootFolderId && hasName &&
           (isJournaled_ || record.type == kJournalType);
}

void CatalogLoader::addNode(const CatalogRecord& record) {
    Node node;
    node.id = record.id;
    node.mode = record.mode;
    node.isFolder = record.isFolder;
    node.isCompressed = !record.isFolder && (record.ownerFlags & kCompressedOwnerFlag) != 0;
    node.isSymlinkByType = record.type == kSymlinkType && record.creator == kSymlinkCreator;
    node.modified = record.modified;
    node.changed = record.changed;
    node.size = record.data.logicalSize;
    node.resourceSize = record.resources.logicalSize;
    addRuns(node, record);
    catalog_.nodes_.push_back(node);
}

void CatalogLoader::addRuns(Node& node, const CatalogRecord& record) {
    std::vector<Run>& all = catalog_.runs_;
    node.firstRun = static_cast<std::uint32_t>(all.size());
    const auto append = [&](const Fork& fork, std::uint8_t forkType) {
        if (fork.totalBlocks == 0 && fork.extents[0].count == 0) {
            return std::uint32_t{0};
        }
        const std::size_t before = all.size();
        appendRuns(all, fork, overflow_, record.id, forkType);
        checkLimit(all.size() <= kMaxRuns);
        return static_cast<std::uint32_t>(all.size() - before);
    };
    node.dataRuns = append(record.data, 0);
    if (node.isCompressed) {
        node.resourceRuns = append(record.resources, 0xFF);
    }
}

void CatalogLoader::addEntry(const CatalogRecord& record) {
    Entry entry;
    entry.parent = record.parent;
    entry.ownId = record.id;
    entry.target = record.id;
    entry.link = linkKind(record);
    entry.linkReference = record.special;
    hasLinks_ = hasLinks_ || entry.link != Entry::Link::kNone;
    rename(entry, safeName(toUtf8(record.name), record.id));
    catalog_.entries_.push_back(entry);
}

void CatalogLoader::rename(Entry& entry, std::string_view name) {
    checkLimit(catalog_.names_.size() + name.size() <= kMaxNameBytes);
    entry.nameOffset = static_cast<std::uint32_t>(catalog_.names_.size());
    entry.nameLength = static_cast<std::uint16_t>(name.size());
    catalog_.names_ += name;
}

void CatalogLoader::sortNodes() {
    if (!std::ranges::is_sorted(catalog_.nodes_, {}, &Node::id)) {
        std::ranges::sort(catalog_.nodes_, {}, &Node::id);
    }
    const auto twice = std::ranges::adjacent_find(catalog_.nodes_, {}, &Node::id);
    if (twice != catalog_.nodes_.end()) {
        damaged("two files of the volume have one number");
    }
}

// A link whose file is missing stays what its record says, an empty file. A link never leads to a link: what stands in
// the private folders is taken for what its own record says.
void CatalogLoader::resolveLinks() {
    std::unordered_map<std::uint32_t, std::uint32_t> files;
    std::unordered_map<std::uint32_t, std::uint32_t> folders;
    if (fileLinkFolder_ != 0) {
        for (const Entry& entry : catalog_.entries(fileLinkFolder_)) {
            if (const auto number = numberAfter("iNode", catalog_.name(entry))) {
                files.emplace(*number, entry.ownId);
            }
        }
    }
    if (folderLinkFolder_ != 0) {
        for (const Entry& entry : catalog_.entries(folderLinkFolder_)) {
            if (const auto number = numberAfter("dir_", catalog_.name(entry))) {
                folders.emplace(*number, entry.ownId);
            }
        }
    }
    for (Entry& entry : catalog_.entries_) {
        if (entry.link == Entry::Link::kNone) {
            continue;
        }
        const bool toFile = entry.link == Entry::Link::kFile;
        const auto& targets = toFile ? files : folders;
        const auto found = targets.find(entry.linkReference);
        if (found != targets.end() && catalog_.find(found->second)->isFolder != toFile) {
            entry.target = found->second;
        }
    }
}

void CatalogLoader::takeOutCircles() {
    std::vector<bool> isFolder;
    isFolder.reserve(catalog_.entries_.size());
    for (const Entry& entry : catalog_.entries_) {
        isFolder.push_back(catalog_.find(entry.target)->isFolder);
    }
    for (const std::size_t at : findCircles(catalog_.entries_, isFolder)) {
        catalog_.entries_[at].parent = kTakenOut;
    }
}

void CatalogLoader::countLinks() {
    std::unordered_map<std::uint32_t, std::uint32_t> counts;
    for (const Entry& entry : catalog_.entries_) {
        if (entry.link == Entry::Link::kFile && entry.target != entry.ownId) {
            ++counts[entry.target];
        }
    }
    for (Node& node : catalog_.nodes_) {
        if (const auto found = counts.find(node.id); found != counts.end()) {
            node.links = found->second;
        }
    }
}

void CatalogLoader::makeNamesUnique() {
    const auto isSame = [this](const Catalog::Index& a, const Catalog::Index& b) {
        return a.parent == b.parent && a.hash == b.hash &&
               catalog_.name(catalog_.entries_[a.entry]) == catalog_.name(catalog_.entries_[b.entry]);
    };
    buildIndex();
    std::vector<std::uint32_t> doubles;
    for (std::size_t i = 1; i < catalog_.index_.size(); ++i) {
        if (isSame(catalog_.index_[i - 1], catalog_.index_[i])) {
            doubles.push_back(catalog_.index_[i].entry);
        }
    }
    if (doubles.empty()) {
        return;
    }
    for (const std::uint32_t at : doubles) {
        Entry& entry = catalog_.entries_[at];
        const std::string name = withNumber(catalog_.name(entry), entry.ownId);
        rename(entry, name);
    }
    buildIndex();
    if (std::ranges::adjacent_find(catalog_.index_, isSame) != catalog_.index_.end()) {
        damaged("two files of one folder have one name");
    }
}

void CatalogLoader::buildIndex() {
    catalog_.index_.clear();
    catalog_.index_.reserve(catalog_.entries_.size());
    for (std::uint32_t i = 0; i < catalog_.entries_.size(); ++i) {
        const Entry& entry = catalog_.entries_[i];
        catalog_.index_.push_back({entry.parent, catalog_.hashOf(catalog_.name(entry)), i});
    }
    std::ranges::sort(catalog_.index_, [this](const auto& a, const auto& b) { return catalog_.isBefore(a, b); });
}

} // namespace hdi::hfs
