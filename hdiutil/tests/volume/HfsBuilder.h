#pragma once

#include "hdiutil/create/HfsRecordWriter.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace hdi::test {

// Makes HFS+ volumes that our writer would not: fragmented, compressed, wrapped, with folder links, or broken in one
// place.
class HfsBuilder {
public:
    enum class Names { kHfsPlus, kHfsxFolding, kHfsxBinary };

    static constexpr std::uint32_t kRoot = 2;
    static constexpr std::size_t kBlock = 512;

    explicit HfsBuilder(Names names = Names::kHfsPlus, const std::u16string& volumeName = u"Volume");

    // Each gives the new number. `item` is what the record begins with; its mode is set when it is 0 and `withMode`.
    std::uint32_t folder(std::uint32_t parent, const std::u16string& name, HfsFolderItem item = {});
    std::uint32_t file(std::uint32_t parent, const std::u16string& name, const Bytes& contents = {},
                       HfsFileItem item = {});
    std::uint32_t symlink(std::uint32_t parent, const std::u16string& name, const std::string& target);
    std::uint32_t fileLink(std::uint32_t parent, const std::u16string& name, std::uint32_t reference);
    std::uint32_t folderLink(std::uint32_t parent, const std::u16string& name, std::uint32_t reference);
    // A file with its contents packed as `type` says, in the attribute or in the resource fork.
    std::uint32_t compressed(std::uint32_t parent, const std::u16string& name, std::uint32_t type, std::uint64_t size,
                             const Bytes& inAttribute, const Bytes& resourceFork = {});
    // A record as it is.
    void record(std::uint32_t parent, const std::u16string& name, const Bytes& data);
    void attribute(std::uint32_t id, const std::u16string& name, const Bytes& value);

    // From now on contents are cut into extents of this many blocks with a free block between them. 0: not at all.
    void fragment(std::uint32_t blocks) { fragment_ = blocks; }
    // The catalog file, too.
    void fragmentCatalog() { fragmentCatalog_ = true; }
    // Nodes of a kilobyte in all trees, for volumes of a few kilobytes.
    void useSmallNodes() { nodeSize_ = 1024; }
    std::uint32_t nextId() const { return nextId_; }

    Bytes build();

    // The volume's bytes inside an HFS wrapper.
    static Bytes wrapped(const Bytes& volume);

private:
    hfs::Fork place(std::uint32_t id, std::uint8_t forkType, const Bytes& contents, std::uint32_t fragment);
    void thread(std::uint32_t id, bool ofFolder, std::uint32_t parent, const std::u16string& name);
    Bytes makeCatalog() const;
    Bytes makeExtents() const;
    Bytes makeAttributes() const;

    struct Entry {
        std::uint32_t parent;
        std::u16string name;
        Bytes data;
    };

    Names names_;
    std::uint32_t nextId_ = 16;
    std::uint32_t fragment_ = 0;
    bool fragmentCatalog_ = false;
    std::uint16_t nodeSize_ = 4096;
    Bytes volume_;
    std::vector<Entry> entries_;
    std::map<std::pair<std::uint32_t, std::u16string>, Bytes> attributes_;
    // By file, fork and first block.
    std::map<std::tuple<std::uint32_t, std::uint8_t, std::uint32_t>, hfs::ExtentRecord> overflow_;
};

} // namespace hdi::test
