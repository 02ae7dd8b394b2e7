#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/Decmpfs.h"
#include "hdiutil/volume/HfsVolume.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace hdi {

namespace {

constexpr std::size_t kCachedBlocks = 32; // 2 MiB

} // namespace

// Sizes are asked for far more often than contents, so the headers are kept. A file that is marked compressed but whose
// attribute is none is shown as its data fork is, as macOS does.
void HfsVolume::readCompressionHeaders() {
    for (const hfs::CompressionAttribute& attribute : hfs::readCompressionAttributes(*attributesFile_)) {
        const hfs::Node* const node = catalog_.find(attribute.fileId);
        const bool isKnown = !compressed_.empty() && compressed_.back().first == attribute.fileId;
        if (node == nullptr || !node->isCompressed || isKnown || attribute.length < kDecmpfsHeaderBytes) {
            continue;
        }
        std::array<std::byte, kDecmpfsHeaderBytes> bytes{};
        attributesFile_->read(attribute.offset, bytes);
        if (const auto header = parseDecmpfsHeader(bytes)) {
            compressed_.push_back({attribute.fileId,
                                   {header->type, header->size, attribute.offset + kDecmpfsHeaderBytes,
                                    attribute.length - static_cast<std::uint32_t>(kDecmpfsHeaderBytes)}});
        }
    }
}

const HfsVolume::Compressed* HfsVolume::compressionOf(const hfs::Node& node) const {
    if (!node.isCompressed) {
        return nullptr;
    }
    const auto found = std::ranges::lower_bound(compressed_, node.id, {}, [](const auto& pair) { return pair.first; });
    return found != compressed_.end() && found->first == node.id ? &found->second : nullptr;
}

void HfsVolume::readCompressed(const hfs::Node& node, const Compressed& how, std::uint64_t offset,
                               std::span<std::byte> into) const {
    const bool inBlocks = isInResourceFork(how.type);
    while (!into.empty()) {
        const std::uint64_t number = inBlocks ? offset / kDecmpfsBlockBytes : 0;
        const auto inside = static_cast<std::size_t>(offset - number * kDecmpfsBlockBytes);
        const Block block = blockOf(node, how, number);
        if (inside >= block->size()) {
            throw ImageError(ImageError::Kind::kDamaged, "a compressed file is shorter than it claims");
        }
        const std::size_t part = std::min(into.size(), block->size() - inside);
        std::memcpy(into.data(), block->data() + inside, part);
        into = into.subspan(part);
        offset += part;
    }
}

// Two threads that miss the same block both unpack it: rare, and cheaper than one waiting for the other.
HfsVolume::Block HfsVolume::blockOf(const hfs::Node& node, const Compressed& how, std::uint64_t number) const {
    const auto isWanted = [&](const CachedBlock& block) { return block.file == node.id && block.number == number; };
    {
        const std::lock_guard lock(cacheMutex_);
        const auto found = std::ranges::find_if(cache_, isWanted);
        if (found != cache_.end()) {
            cache_.splice(cache_.begin(), cache_, found);
            return found->bytes;
        }
    }
    auto block = std::make_shared<const std::vector<std::byte>>(unpack(node, how, number));
    if (block->size() > kDecmpfsBlockBytes) {
        return block;
    }
    const std::lock_guard lock(cacheMutex_);
    cache_.push_front({node.id, number, block});
    if (cache_.size() > kCachedBlocks) {
        cache_.pop_back();
    }
    return block;
}

std::vector<std::byte> HfsVolume::unpack(const hfs::Node& node, const Compressed& how, std::uint64_t block) const {
    const DecmpfsHeader header{how.type, how.size};
    if (isInResourceFork(how.type)) {
        const auto runs = catalog_.resourceRuns(node);
        return unpackBlock(header, hfs::ForkSource(space_, {runs.begin(), runs.end()}, node.resourceSize), block);
    }
    std::vector<std::byte> packed(how.length);
    attributesFile_->read(how.offset, packed);
    return unpackInline(header, packed);
}

} // namespace hdi
