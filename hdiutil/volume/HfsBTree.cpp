#include "hdiutil/volume/HfsBTree.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsFormat.h"
#include "hdiutil/volume/Numbers.h"

#include <array>
#include <bit>
#include <vector>

namespace hdi::hfs {

namespace {

constexpr std::uint64_t kMaxLeafBytes = 1024ULL * 1024 * 1024;

// Where record `index` begins; the offsets stand at the node's end, in reverse.
std::size_t recordOffset(std::span<const std::byte> node, std::size_t index) {
    return be16(node, node.size() - 2 * (index + 1));
}

LeafRecord parseRecord(std::span<const std::byte> node, std::size_t begin, std::size_t end, std::uint64_t nodeOffset) {
    if (end - begin < 2) {
        damaged("a B-tree record is too short for its key");
    }
    const std::size_t keyLength = be16(node, begin);
    const std::size_t dataBegin = begin + 2 + keyLength + keyLength % 2; // data is aligned to two bytes
    if (dataBegin > end) {
        damaged("a B-tree key is longer than its record");
    }
    return {node.subspan(begin + 2, keyLength), node.subspan(dataBegin, end - dataBegin), nodeOffset + dataBegin};
}

void visitNode(std::span<const std::byte> node, std::uint64_t nodeOffset,
               const std::function<void(const LeafRecord&)>& visit) {
    if (byteAt(node, 8) != kLeafNode) {
        damaged("a B-tree's chain of leaves leads to another node");
    }
    const std::size_t count = be16(node, 10);
    if (count > (node.size() - kNodeDescriptorBytes) / 2 - 1) {
        damaged("a B-tree node claims more records than it can hold");
    }
    const std::size_t limit = node.size() - 2 * (count + 1);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = recordOffset(node, i);
        const std::size_t end = recordOffset(node, i + 1);
        if (begin < kNodeDescriptorBytes || begin >= end || end > limit) {
            damaged("a B-tree record lies outside its node");
        }
        visit(parseRecord(node, begin, end, nodeOffset));
    }
}

// Notices a chain that goes in a circle, whatever its length, soon after it has come round once, and without keeping
// its members: it remembers one of them, and a later one each time as many as before have passed.
//
// Facts: R. P. Brent, "An improved Monte Carlo factorization algorithm", 1980.
class CircleGuard {
public:
    bool comesAgain(std::uint32_t member) {
        if (member == remembered_) {
            return true;
        }
        if (++passed_ == limit_) {
            remembered_ = member;
            limit_ *= 2;
            passed_ = 0;
        }
        return false;
    }

private:
    std::uint32_t remembered_ = 0; // never a leaf
    std::uint64_t passed_ = 0;
    std::uint64_t limit_ = 1;
};

} // namespace

TreeHeader readTreeHeader(const ByteSource& file) {
    std::array<std::byte, kNodeDescriptorBytes + kTreeHeaderBytes> bytes{};
    if (file.size() < bytes.size()) {
        damaged("a B-tree file is too short for its header");
    }
    file.read(0, bytes);
    if (byteAt(bytes, 8) != kHeaderNode) {
        damaged("a B-tree file does not begin with a header node");
    }
    TreeHeader header;
    header.firstLeaf = be32(bytes, 24);
    header.nodeSize = be16(bytes, 32);
    header.keyCompare = byteAt(bytes, 51);
    if (header.nodeSize < 512 || !std::has_single_bit(header.nodeSize) || header.nodeSize > file.size()) {
        damaged("a B-tree's node size cannot be");
    }
    return header;
}

void walkLeaves(const ByteSource& file, const TreeHeader& header, const std::function<void(const LeafRecord&)>& visit) {
    const std::uint64_t nodeCount = file.size() / header.nodeSize;
    std::vector<std::byte> node(header.nodeSize);
    CircleGuard guard;
    std::uint64_t visited = 0;
    for (std::uint32_t number = header.firstLeaf; number != 0; number = be32(node, 0)) {
        if (number >= nodeCount || guard.comesAgain(number)) {
            damaged("a B-tree's chain of leaves leads outside the file or into a circle");
        }
        if (++visited * header.nodeSize > kMaxLeafBytes) {
            throw ImageError(ImageError::Kind::kUnsupported, "the volume's catalog is larger than this program reads");
        }
        const std::uint64_t offset = static_cast<std::uint64_t>(number) * header.nodeSize;
        file.read(offset, node);
        visitNode(node, offset, visit);
    }
}

} // namespace hdi::hfs
