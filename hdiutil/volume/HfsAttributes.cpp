#include "hdiutil/volume/HfsAttributes.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsBTree.h"
#include "hdiutil/volume/Numbers.h"

#include <algorithm>
#include <string_view>

namespace hdi::hfs {

namespace {

constexpr std::size_t kMaxAttributes = 2'000'000;
constexpr std::size_t kMaxOverflowRecords = 1'000'000;
constexpr std::uint32_t kInlineData = 0x10;
constexpr std::u16string_view kCompressionName = u"com.apple.decmpfs";

bool isCompression(std::span<const std::byte> key) {
    if (key.size() < 12 || be16(key, 10) != kCompressionName.size() || key.size() < 12 + 2 * kCompressionName.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kCompressionName.size(); ++i) {
        if (be16(key, 12 + 2 * i) != kCompressionName[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<CompressionAttribute> readCompressionAttributes(const ByteSource& attributesFile) {
    std::vector<CompressionAttribute> found;
    walkLeaves(attributesFile, readTreeHeader(attributesFile), [&](const LeafRecord& leaf) {
        if (!isCompression(leaf.key) || leaf.data.size() < 16 || be32(leaf.data, 0) != kInlineData) {
            return;
        }
        const std::uint32_t length = be32(leaf.data, 12);
        if (length > leaf.data.size() - 16) {
            damaged("an attribute is longer than its record");
        }
        if (found.size() == kMaxAttributes) {
            throw ImageError(ImageError::Kind::kUnsupported, "the volume has more attributes than this program reads");
        }
        found.push_back({be32(leaf.key, 2), length, leaf.dataOffset + 16});
    });
    std::ranges::stable_sort(found, {}, &CompressionAttribute::fileId);
    return found;
}

OverflowExtents readOverflowExtents(const ByteSource& extentsFile) {
    OverflowExtents extents;
    walkLeaves(extentsFile, readTreeHeader(extentsFile), [&](const LeafRecord& leaf) {
        if (leaf.key.size() < 10 || leaf.data.size() < kExtentRecordBytes) {
            damaged("a record of the extents file is too short");
        }
        if (extents.size() == kMaxOverflowRecords) {
            throw ImageError(ImageError::Kind::kUnsupported, "the volume is more fragmented than this program reads");
        }
        const OverflowKey key{be32(leaf.key, 2), byteAt(leaf.key, 0), be32(leaf.key, 6)};
        extents.emplace(key, parseExtentRecord(leaf.data, 0));
    });
    return extents;
}

} // namespace hdi::hfs
