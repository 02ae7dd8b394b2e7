#include "hdiutil/volume/ApfsVolume.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsNames.h"
#include "hdiutil/volume/SafeNames.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace hdi {

namespace {

constexpr std::uint64_t kCaseInsensitiveBit = 0x1;
constexpr std::size_t kMaxTargetBytes = 4096;
constexpr std::size_t kKeptAttributes = 65536;
constexpr std::size_t kKeptFolders = 64;
constexpr std::size_t kMaxNameBytes = 4096;
constexpr int kMaxFolderEntries = 2'000'000;

// Text of a size that the library tells first, the end of the text included. Empty when there is none.
template <typename Object>
std::string textOf(const ApfsContainer& container, Object* object, std::size_t limit, const char* what,
                   int (*sizeOf)(Object*, std::size_t*, libfsapfs_error_t**),
                   int (*get)(Object*, std::uint8_t*, std::size_t, libfsapfs_error_t**)) {
    libfsapfs_error_t* error = nullptr;
    std::size_t size = 0;
    const int result = sizeOf(object, &size, &error);
    if (result == 0 || (result == 1 && size <= 1)) {
        return {};
    }
    if (result != 1 || size > limit + 1) {
        container.fail(what, error);
    }
    std::string text(size, '\0');
    container.check(get(object, reinterpret_cast<std::uint8_t*>(text.data()), size, &error), what, error);
    text.resize(std::strlen(text.c_str()));
    return text;
}

} // namespace

std::vector<std::unique_ptr<Volume>> ApfsVolume::openAll(const ByteSourcePtr& partition) {
    std::vector<std::unique_ptr<Volume>> volumes;
    const auto container = ApfsContainer::open(partition);
    libfsapfs_error_t* error = nullptr;
    int count = 0;
    container->check(libfsapfs_container_get_number_of_volumes(container->get(), &count, &error),
                     "the APFS container's volumes cannot be counted", error);
    const auto& facts = container->volumes();
    if (static_cast<std::size_t>(std::max(count, 0)) != facts.size()) {
        damaged("the APFS container's volumes are not those of its superblock");
    }
    for (int i = 0; i < count; ++i) {
        if (facts[static_cast<std::size_t>(i)].isEncrypted) {
            continue;
        }
        libfsapfs_volume_t* volume = nullptr;
        container->check(libfsapfs_container_get_volume_by_index(container->get(), i, &volume, &error),
                         "an APFS volume cannot be opened", error);
        volumes.push_back(std::make_unique<ApfsVolume>(container, apfs::LibraryVolume(volume)));
    }
    if (volumes.empty() && count > 0) {
        throw ImageError(ImageError::Kind::kEncrypted,
                         "the APFS volume is encrypted, which this program does not read");
    }
    return volumes;
}

ApfsVolume::ApfsVolume(std::shared_ptr<ApfsContainer> container, apfs::LibraryVolume volume)
    : container_(std::move(container)), volume_(std::move(volume)) {
    libfsapfs_error_t* error = nullptr;
    name_ = textOf(*container_, volume_.get(), kMaxNameBytes, "an APFS volume's name cannot be read",
                   libfsapfs_volume_get_utf8_name_size, libfsapfs_volume_get_utf8_name);
    std::uint64_t compatible = 0;
    std::uint64_t incompatible = 0;
    std::uint64_t readOnlyCompatible = 0;
    container_->check(
        libfsapfs_volume_get_features_flags(volume_.get(), &compatible, &incompatible, &readOnlyCompatible, &error),
        "an APFS volume's features cannot be read", error);
    caseSensitive_ = (incompatible & kCaseInsensitiveBit) == 0;
    size64_t used = 0;
    container_->check(libfsapfs_container_get_size(container_->get(), &capacity_, &error),
                      "the APFS container's size cannot be read", error);
    if (libfsapfs_volume_get_size(volume_.get(), &used, nullptr) != 1) {
        used = capacity_; // the library does not always know
    }
    freeSpace_ = capacity_ - std::min<std::uint64_t>(capacity_, used);
}

// The library's objects are freed one at a time, too: another volume of the container may be in use.
ApfsVolume::~ApfsVolume() {
    const std::lock_guard lock(container_->mutex());
    files_.clear();
    volume_.reset();
}

Attributes ApfsVolume::attributes(NodeId node) const {
    const std::lock_guard lock(container_->mutex());
    if (const auto known = attributes_.find(node); known != attributes_.end()) {
        return known->second;
    }
    if (attributes_.size() >= kKeptAttributes) {
        attributes_.clear();
    }
    return attributes_[node] = opened(node).attributes;
}

std::vector<DirectoryEntry> ApfsVolume::list(NodeId folder) const {
    const std::lock_guard lock(container_->mutex());
    return folderOf(folder).entries;
}

std::optional<NodeId> ApfsVolume::lookUp(NodeId node, std::string_view name) const {
    const std::lock_guard lock(container_->mutex());
    if (opened(node).attributes.kind != NodeKind::kFolder) {
        return std::nullopt;
    }
    const Folder& folder = folderOf(node);
    if (const auto exact = folder.exact.find(std::string(name)); exact != folder.exact.end()) {
        return exact->second;
    }
    const auto folded = folder.folded.find(keyOf(name));
    return folded != folder.folded.end() ? std::optional(folded->second) : std::nullopt;
}

std::string ApfsVolume::linkTarget(NodeId link) const {
    const std::lock_guard lock(container_->mutex());
    const OpenFile& file = opened(link);
    if (file.attributes.kind != NodeKind::kSymlink) {
        damaged("a file was to be read as a link");
    }
    std::string target = textOf(*container_, file.entry.get(), kMaxTargetBytes, "an APFS link's target cannot be read",
                                libfsapfs_file_entry_get_utf8_symbolic_link_target_size,
                                libfsapfs_file_entry_get_utf8_symbolic_link_target);
    if (target.empty()) {
        damaged("a link's target is empty");
    }
    return target;
}

const ApfsVolume::Folder& ApfsVolume::folderOf(NodeId node) const {
    if (const auto known = folders_.find(node); known != folders_.end()) {
        return known->second;
    }
    if (folders_.size() >= kKeptFolders) {
        folders_.clear();
    }
    return folders_.emplace(node, readFolder(node)).first->second;
}

ApfsVolume::Folder ApfsVolume::readFolder(NodeId node) const {
    libfsapfs_file_entry_t* const entry = opened(node).entry.get();
    if (opened(node).attributes.kind != NodeKind::kFolder) {
        damaged("a file was to be listed as a folder");
    }
    libfsapfs_error_t* error = nullptr;
    int count = 0;
    container_->check(libfsapfs_file_entry_get_number_of_sub_file_entries(entry, &count, &error),
                      "an APFS folder cannot be listed", error);
    if (count > kMaxFolderEntries) {
        throw ImageError(ImageError::Kind::kUnsupported, "a folder has more files than this program reads");
    }
    Folder folder;
    for (int i = 0; i < count; ++i) {
        libfsapfs_file_entry_t* child = nullptr;
        container_->check(libfsapfs_file_entry_get_sub_file_entry_by_index(entry, i, &child, &error),
                          "an APFS folder's entry cannot be read", error);
        const apfs::FileEntry owned(child);
        NodeId id = 0;
        container_->check(libfsapfs_file_entry_get_identifier(child, &id, &error), "an APFS file has no number", error);
        const std::string stored = textOf(*container_, child, kMaxNameBytes, "an APFS name cannot be read",
                                          libfsapfs_file_entry_get_utf8_name_size, libfsapfs_file_entry_get_utf8_name);
        std::string name = safeName(stored, id);
        if (folder.exact.contains(name)) {
            name = withNumber(name, id);
        }
        if (!folder.exact.emplace(name, id).second) {
            damaged("two files of one folder have one name");
        }
        folder.folded.emplace(keyOf(name), id);
        folder.entries.push_back({name, id});
    }
    return folder;
}

// APFS compares names as HFS+ does, without regard to normal form, but by today's Unicode; letters that the older table
// does not know are found by their exact case.
std::u16string ApfsVolume::keyOf(std::string_view name) const {
    return hfs::comparisonKey(hfs::toUtf16(name), caseSensitive_);
}

} // namespace hdi
