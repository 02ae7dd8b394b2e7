#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/HfsFork.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hdi::hfs {

// What the catalog says of one file or folder. Kept small: a volume may have two million of them.
struct Node {
    std::uint32_t id = 0;
    std::uint16_t mode = 0; // as stored, with the type's bits; 0: never set
    bool isFolder = false;
    bool isCompressed = false;
    bool isSymlinkByType = false; // by type and creator, for volumes whose modes were never set
    std::uint32_t modified = 0;   // seconds since 1904
    std::uint32_t changed = 0;
    std::uint32_t links = 1;
    std::uint64_t size = 0;
    std::uint64_t resourceSize = 0;
    std::uint32_t firstRun = 0; // of the data fork; those of the resources follow
    std::uint32_t dataRuns = 0;
    std::uint32_t resourceRuns = 0;
};

// A name in a folder.
struct Entry {
    std::uint32_t parent = 0;
    std::uint32_t ownId = 0;  // of the catalog's record
    std::uint32_t target = 0; // what the name stands for: ownId, or what a hard link leads to
    std::uint32_t nameOffset = 0;
    std::uint16_t nameLength = 0;
    enum class Link : std::uint8_t { kNone, kFile, kFolder } link = Link::kNone;
    std::uint32_t linkReference = 0;
};

// A whole catalog in memory: names made safe for a path and unique in their folder, hard links resolved, the
// format's own folders and files taken out, no folder inside itself.
//
// Threads: any number at once; nothing changes after construction.
class Catalog {
public:
    // Reads all of `file`. Throws ImageError: kDamaged, or kUnsupported beyond two million entries or 256 MiB of names.
    Catalog(const ByteSource& file, const OverflowExtents& overflow, bool isHfsx, bool isJournaled);

    const std::string& volumeName() const { return volumeName_; }

    // Null when there is none.
    const Node* find(std::uint32_t id) const;
    std::span<const Run> dataRuns(const Node& node) const;
    std::span<const Run> resourceRuns(const Node& node) const;

    // In catalog order.
    std::span<const Entry> entries(std::uint32_t folder) const;
    std::string_view name(const Entry& entry) const;
    std::optional<std::uint32_t> lookUp(std::uint32_t folder, std::string_view name) const;

private:
    // Sorted by folder, by a number made from the name as it is compared, and by the name.
    struct Index {
        std::uint32_t parent;
        std::uint32_t hash;
        std::uint32_t entry;
    };

    friend class CatalogLoader;

    std::u16string keyOf(std::string_view name) const; // the name as it is compared
    std::uint32_t hashOf(std::string_view name) const; // a number made from that
    bool isBefore(const Index& left, const Index& right) const;

    bool caseSensitive_ = false;
    std::string volumeName_;
    std::vector<Node> nodes_;    // by id
    std::vector<Entry> entries_; // by parent
    std::vector<Run> runs_;
    std::vector<Index> index_;
    std::string names_;
};

} // namespace hdi::hfs
