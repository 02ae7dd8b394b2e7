#include "hdiutil/volume/HfsCatalog.h"

#include "hdiutil/volume/HfsCatalogLoader.h"
#include "hdiutil/volume/HfsNames.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace hdi::hfs {

namespace {

// FNV-1a
constexpr std::uint32_t kHashStart = 0x811C9DC5U;
constexpr std::uint32_t addToHash(std::uint32_t hash, char16_t unit) {
    return (hash ^ unit) * 0x01000193U;
}

std::uint32_t hashOfKey(std::u16string_view key) {
    return std::accumulate(key.begin(), key.end(), kHashStart, addToHash);
}

} // namespace

Catalog::Catalog(const ByteSource& file, const OverflowExtents& overflow, bool isHfsx, bool isJournaled) {
    const TreeHeader header = readTreeHeader(file);
    caseSensitive_ = isHfsx && header.keyCompare == kBinaryCompare;
    CatalogLoader(*this, overflow, isJournaled).load(file, header);
}

const Node* Catalog::find(std::uint32_t id) const {
    const auto found = std::lower_bound(nodes_.begin(), nodes_.end(), id,
                                        [](const Node& node, std::uint32_t key) { return node.id < key; });
    return found != nodes_.end() && found->id == id ? &*found : nullptr;
}

std::span<const Run> Catalog::dataRuns(const Node& node) const {
    return std::span(runs_).subspan(node.firstRun, node.dataRuns);
}

std::span<const Run> Catalog::resourceRuns(const Node& node) const {
    return std::span(runs_).subspan(node.firstRun + node.dataRuns, node.resourceRuns);
}

std::span<const Entry> Catalog::entries(std::uint32_t folder) const {
    const auto begin = std::ranges::lower_bound(entries_, folder, {}, &Entry::parent);
    const auto end = std::ranges::upper_bound(entries_, folder, {}, &Entry::parent);
    return {begin, end};
}

std::string_view Catalog::name(const Entry& entry) const {
    return std::string_view(names_).substr(entry.nameOffset, entry.nameLength);
}

std::u16string Catalog::keyOf(std::string_view name) const {
    return comparisonKey(toUtf16(name), caseSensitive_);
}

// Most names are ASCII, and a mount waits for the number of each of them: those are not written out as keys first.
std::uint32_t Catalog::hashOf(std::string_view name) const {
    std::uint32_t hash = kHashStart;
    for (const char character : name) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte == 0 || byte >= 0x80) {
            return hashOfKey(keyOf(name));
        }
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        hash = addToHash(hash, isCapital && !caseSensitive_ ? byte + ('a' - 'A') : byte);
    }
    return hash;
}

// Equal numbers are rare, and then the names themselves decide: a volume made so that all numbers are equal stays
// usable.
bool Catalog::isBefore(const Index& left, const Index& right) const {
    if (left.parent != right.parent || left.hash != right.hash) {
        return std::tie(left.parent, left.hash) < std::tie(right.parent, right.hash);
    }
    const std::string_view a = name(entries_[left.entry]);
    const std::string_view b = name(entries_[right.entry]);
    if (a != b) {
        if (const int order = keyOf(a).compare(keyOf(b)); order != 0) {
            return order < 0;
        }
    }
    return std::tie(a, left.entry) < std::tie(b, right.entry);
}

std::optional<std::uint32_t> Catalog::lookUp(std::uint32_t folder, std::string_view wanted) const {
    const std::u16string key = keyOf(wanted);
    const std::uint32_t hash = hashOf(wanted);
    const auto isBeforeWanted = [&](const Index& index, std::string_view exact) {
        if (index.parent != folder || index.hash != hash) {
            return std::tie(index.parent, index.hash) < std::tie(folder, hash);
        }
        const std::string_view own = name(entries_[index.entry]);
        const int order = keyOf(own).compare(key);
        return order != 0 ? order < 0 : own < exact;
    };
    const auto isSame = [&](std::vector<Index>::const_iterator index) {
        return index != index_.end() && index->parent == folder && index->hash == hash &&
               keyOf(name(entries_[index->entry])) == key;
    };
    const auto exact = std::lower_bound(index_.begin(), index_.end(), wanted, isBeforeWanted);
    if (isSame(exact) && name(entries_[exact->entry]) == wanted) {
        return entries_[exact->entry].target;
    }
    const auto first = std::lower_bound(index_.begin(), index_.end(), std::string_view(), isBeforeWanted);
    return isSame(first) ? std::optional(entries_[first->entry].target) : std::nullopt;
}

} // namespace hdi::hfs
