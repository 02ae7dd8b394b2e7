#include "hdiutil/volume/ApfsMetadata.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Numbers.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>
#include <string_view>

namespace hdi::apfs {

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kHeaderBytes = 32;
constexpr std::uint32_t kSmallestBlock = 4096;
constexpr std::uint32_t kLargestBlock = 65536;
constexpr std::uint32_t kMaxDescriptorBlocks = 65536;
constexpr std::size_t kMaxVolumes = 100;
constexpr std::size_t kMaxObjects = 4'000'000;
constexpr unsigned kMaxDepth = 16;

bool hasMagic(std::span<const std::byte> object, std::string_view magic) {
    return std::memcmp(object.data() + kHeaderBytes, magic.data(), magic.size()) == 0;
}

struct Mapped {
    std::uint64_t id;
    std::uint64_t change; // the transaction
    std::uint32_t flags;
    std::uint32_t length;
    std::uint64_t block;
};

class Finder {
public:
    explicit Finder(const ByteSource& partition) : partition_(partition) {}

    Metadata find() {
        readSuperblock();
        const std::vector<Mapped> volumes = readObjectMap(le64(superblock_, 160));
        for (std::size_t i = 0; i < kMaxVolumes; ++i) {
            if (const std::uint64_t id = le64(superblock_, 184 + 8 * i); id != 0) {
                readVolume(newest(volumes, id));
            }
        }
        std::ranges::sort(found_.objects, {}, &Metadata::Object::offset);
        return std::move(found_);
    }

private:
    Bytes readObject(std::uint64_t block) {
        Bytes object(blockSize_);
        if (block > (partition_.size() - blockSize_) / blockSize_) {
            damaged("an APFS object lies outside its container");
        }
        partition_.read(block * blockSize_, object);
        if (!isIntact(object)) {
            damaged("an APFS object does not match its checksum");
        }
        note(block, blockSize_);
        return object;
    }

    void note(std::uint64_t block, std::size_t length) {
        if (found_.objects.size() >= kMaxObjects) {
            throw ImageError(ImageError::Kind::kUnsupported, "the volume has more files than this program reads");
        }
        found_.objects.push_back({block * blockSize_, length});
    }

    // The newest of those that the descriptor area keeps; its blocks are used in turn, those never used are zeros.
    void readSuperblock() {
        superblock_.resize(kSmallestBlock);
        if (partition_.size() < superblock_.size()) {
            damaged("an APFS container is too short");
        }
        partition_.read(0, superblock_);
        blockSize_ = le32(superblock_, 36);
        if (blockSize_ < kSmallestBlock || blockSize_ > kLargestBlock || partition_.size() < blockSize_) {
            damaged("an APFS container's block size cannot be");
        }
        superblock_ = readObject(0);
        hideKeyBag(0, superblock_);
        const std::uint32_t count = le32(superblock_, 104);
        const std::uint64_t first = le64(superblock_, 112);
        if (count > kMaxDescriptorBlocks || first > partition_.size()) {
            throw ImageError(ImageError::Kind::kUnsupported, "the APFS container spreads its superblocks, which this "
                                                             "program does not read");
        }
        for (std::uint64_t block = first; block < first + count; ++block) {
            lookAtDescriptor(block);
        }
    }

    void lookAtDescriptor(std::uint64_t block) {
        Bytes bytes(blockSize_);
        if (block > (partition_.size() - blockSize_) / blockSize_) {
            damaged("an APFS object lies outside its container");
        }
        partition_.read(block * blockSize_, bytes);
        if (std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte{0}; })) {
            return;
        }
        const Bytes object = readObject(block);
        if (hasMagic(object, "NXSB")) {
            hideKeyBag(block, object);
            if (le64(object, 16) > le64(superblock_, 16)) {
                superblock_ = object;
            }
        }
    }

    void hideKeyBag(std::uint64_t block, Bytes superblock) {
        constexpr std::size_t kField = 1296; // the key bag's first block and how many
        constexpr std::size_t kFieldBytes = 16;
        if (le64(superblock, kField) != 0) {
            std::fill_n(superblock.begin() + kField, kFieldBytes, std::byte{0});
            storeLittle<std::uint64_t>(superblock, 0, checksumOf(superblock));
            found_.superblocks.push_back({block * blockSize_, std::move(superblock)});
        }
    }

    std::vector<Mapped> readObjectMap(std::uint64_t block) {
        std::vector<Mapped> all;
        std::set<std::uint64_t> visited;
        readNode(le64(readObject(block), 48), 0, visited, all);
        return all;
    }

    // Of an object map's tree, whose keys and values have fixed lengths.
    void readNode(std::uint64_t block, unsigned depth, std::set<std::uint64_t>& visited, std::vector<Mapped>& all) {
        if (depth > kMaxDepth || !visited.insert(block).second) {
            damaged("an APFS object map contains itself");
        }
        constexpr std::size_t kTable = 56;
        constexpr std::size_t kRootFooter = 40;
        constexpr unsigned kRoot = 1;
        constexpr unsigned kLeaf = 2;
        const Bytes node = readObject(block);
        const unsigned flags = le16(node, 32);
        const std::uint32_t count = le32(node, 36);
        const std::size_t table = kTable + le16(node, 40);
        const std::size_t keys = table + le16(node, 42);
        const std::size_t end = node.size() - ((flags & kRoot) != 0 ? kRootFooter : 0);
        const std::size_t valueLength = (flags & kLeaf) != 0 ? 16 : 8;
        if (count > node.size() / 4 || table + std::size_t{4} * count > end || keys > end) {
            damaged("a node of an APFS object map cannot be");
        }
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t key = keys + le16(node, table + 4 * i);
            const std::size_t back = le16(node, table + 4 * i + 2);
            if (key + 16 > end || back > end || back < valueLength) {
                damaged("a node of an APFS object map cannot be");
            }
            const std::size_t value = end - back;
            if ((flags & kLeaf) != 0) {
                all.push_back({le64(node, key), le64(node, key + 8), le32(node, value), le32(node, value + 4),
                               le64(node, value + 8)});
            } else {
                readNode(le64(node, value), depth + 1, visited, all);
            }
        }
    }

    static const Mapped& newest(const std::vector<Mapped>& map, std::uint64_t id) {
        const Mapped* best = nullptr;
        for (const Mapped& each : map) {
            if (each.id == id && (best == nullptr || each.change > best->change)) {
                best = &each;
            }
        }
        if (best == nullptr) {
            damaged("an APFS volume is not in its container's object map");
        }
        return *best;
    }

    void readVolume(const Mapped& mapped) {
        constexpr std::uint64_t kUnencrypted = 1;
        const Bytes volume = readObject(mapped.block);
        if (!hasMagic(volume, "APSB")) {
            damaged("an APFS volume has no superblock");
        }
        const auto* const name = reinterpret_cast<const char*>(volume.data()) + 704;
        const bool isEncrypted = (le64(volume, 264) & kUnencrypted) == 0;
        found_.volumes.push_back({std::string(name, ::strnlen(name, 256)), isEncrypted});
        if (!isEncrypted) {
            noteTree(readObjectMap(le64(volume, 128)));
        }
    }

    void noteTree(const std::vector<Mapped>& map) {
        constexpr std::uint32_t kEncryptedOrBare = 0x4 | 0x8; // bare: without a header
        for (const Mapped& each : map) {
            const bool fits = each.length >= kHeaderBytes && each.length <= partition_.size() &&
                              each.block <= (partition_.size() - each.length) / blockSize_;
            if (fits && (each.flags & kEncryptedOrBare) == 0) {
                note(each.block, each.length);
            }
        }
    }

    const ByteSource& partition_;
    std::size_t blockSize_ = 0;
    Bytes superblock_;
    Metadata found_;
};

} // namespace

Metadata findMetadata(const ByteSource& partition) {
    return Finder(partition).find();
}

// Fletcher's, of 32-bit words, with the sum chosen so that the whole adds up to nothing.
std::uint64_t checksumOf(std::span<const std::byte> object) {
    constexpr std::uint64_t kModulus = 0xFFFF'FFFF;
    constexpr std::size_t kWordsAtOnce = 16384; // before the sums could overflow
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    const std::size_t words = object.size() / 4;
    for (std::size_t word = 2; word < words;) {
        const std::size_t until = std::min(words, word + kWordsAtOnce);
        for (; word < until; ++word) {
            first += le32(object, 4 * word);
            second += first;
        }
        first %= kModulus;
        second %= kModulus;
    }
    const std::uint64_t low = kModulus - (first + second) % kModulus;
    const std::uint64_t high = kModulus - (first + low) % kModulus;
    return high << 32U | low;
}

bool isIntact(std::span<const std::byte> object) {
    return !kCompareChecksums || le64(object, 0) == checksumOf(object);
}

} // namespace hdi::apfs
