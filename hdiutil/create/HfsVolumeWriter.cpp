#include "hdiutil/create/HfsVolumeWriter.h"

#include "hdiutil/create/HfsCatalogWriter.h"
#include "hdiutil/create/HfsImageSource.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace hdi {

namespace {

constexpr std::uint32_t kBlockSize = 4096;

std::uint32_t blocksFor(std::uint64_t bytes) {
    return static_cast<std::uint32_t>((bytes + kBlockSize - 1) / kBlockSize);
}

hfs::Fork systemFork(std::uint32_t start, std::uint64_t length) {
    hfs::Fork fork;
    fork.logicalSize = length;
    fork.totalBlocks = blocksFor(length);
    fork.extents[0] = {start, fork.totalBlocks};
    return fork;
}

// How many blocks the bitmap needs for `others` blocks and itself, and for `least` in all.
std::uint32_t bitmapBlocks(std::uint32_t others, std::uint32_t least) {
    std::uint32_t blocks = 1;
    while (static_cast<std::uint64_t>(blocks) * kBlockSize * 8 <
           std::max<std::uint64_t>(static_cast<std::uint64_t>(others) + blocks, least)) {
        ++blocks;
    }
    return blocks;
}

// The first blocks are in use, and the last one of all.
std::vector<std::byte> bitmapOf(std::uint32_t used, std::uint32_t totalBlocks, std::uint32_t blocks) {
    std::vector<std::byte> bitmap(static_cast<std::size_t>(blocks) * kBlockSize);
    std::fill_n(bitmap.begin(), used / 8, std::byte{0xFF});
    const auto mark = [&bitmap](std::uint32_t block) { bitmap[block / 8] |= std::byte{0x80} >> (block % 8); };
    for (std::uint32_t i = used - used % 8; i < used; ++i) {
        mark(i);
    }
    mark(totalBlocks - 1);
    return bitmap;
}

// Tells one volume from another, as macOS's random number would; the same source gives the same image.
std::uint64_t volumeId(const HfsSource& source, const std::string& name) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    const auto mix = [&hash](std::uint64_t value) { hash = (hash ^ value) * 0x100000001B3U; };
    for (const char c : name) {
        mix(static_cast<unsigned char>(c));
    }
    for (const HfsSource::Item& item : source.items) {
        mix(static_cast<std::uint64_t>(item.status.st_size));
        mix(static_cast<std::uint64_t>(item.status.st_mtim.tv_nsec));
    }
    return hash;
}

std::vector<std::byte> bytesOf(const std::string& text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

std::u16string checkedVolumeName(const std::string& name) {
    const auto stored = storedHfsName(name);
    if (!stored) {
        throw ImageError(ImageError::Kind::kUnsupported,
                         "the volume's name is empty, not UTF-8 or longer than 255 characters");
    }
    return *stored;
}

// Block 0 holds the header, the last one its copy. Between them: the extents file, contents, the catalog and the
// bitmap, in this order, since the catalog's size is known only when the contents have their places, and the bitmap's
// last of all.
class Layout {
public:
    Layout(std::shared_ptr<const HfsSource> source, const std::string& name, std::uint32_t now)
        : source_(std::move(source)), name_(name), catalog_(*source_, checkedVolumeName(name), now, kBlockSize) {
        header_.created = now;
    }

    // With free blocks at the end up to `least` in all.
    ByteSourcePtr make(std::uint32_t least) {
        std::vector<std::byte> extentsFile = HfsTreeWriter(HfsTreeWriter::extentsKind()).finish();
        header_.extentsFile = systemFork(1, extentsFile.size());
        const std::uint32_t catalogStart = catalog_.placeContents(1 + header_.extentsFile.totalBlocks);
        std::vector<std::byte> catalogFile = catalog_.makeCatalog();
        header_.catalogFile = systemFork(catalogStart, catalogFile.size());
        const std::uint32_t bitmapStart = catalogStart + header_.catalogFile.totalBlocks;
        const std::uint32_t bitmap = bitmapBlocks(bitmapStart + 1, least);
        const std::uint32_t used = bitmapStart + bitmap;
        header_.totalBlocks = std::max(used + 1, least);
        header_.freeBlocks = header_.totalBlocks - used - 1;
        header_.allocationFile = systemFork(bitmapStart, static_cast<std::uint64_t>(bitmap) * kBlockSize);
        const std::vector<std::byte> header = finishHeader();

        const std::uint64_t size = static_cast<std::uint64_t>(header_.totalBlocks) * kBlockSize;
        auto image = std::make_shared<HfsImageSource>(source_, size);
        image->addBytes(hfs::kHeaderOffset, header);
        image->addBytes(kBlockSize, std::move(extentsFile));
        addContents(*image);
        image->addBytes(static_cast<std::uint64_t>(catalogStart) * kBlockSize, std::move(catalogFile));
        image->addBytes(static_cast<std::uint64_t>(bitmapStart) * kBlockSize,
                        bitmapOf(used, header_.totalBlocks, bitmap));
        image->addBytes(size - hfs::kHeaderOffset, header);
        return image;
    }

private:
    std::vector<std::byte> finishHeader() {
        header_.isHfsx = source_->caseSensitive;
        header_.fileCount = catalog_.fileCount();
        header_.folderCount = catalog_.folderCount();
        header_.blockSize = kBlockSize;
        header_.nextId = catalog_.nextId();
        header_.volumeId = volumeId(*source_, name_);
        return volumeHeader(header_);
    }

    void addContents(HfsImageSource& image) const {
        for (const HfsCatalogWriter::Content& content : catalog_.contents()) {
            const std::uint64_t offset = static_cast<std::uint64_t>(content.extent.start) * kBlockSize;
            const HfsSource::Item& item = source_->items[content.item];
            if (S_ISLNK(item.status.st_mode)) {
                image.addBytes(offset, bytesOf(item.target));
            } else {
                image.addFile(offset, content.item, content.length);
            }
        }
    }

    std::shared_ptr<const HfsSource> source_;
    std::string name_;
    HfsCatalogWriter catalog_;
    HfsHeaderItem header_;
};

} // namespace

ByteSourcePtr createHfsPlus(const std::string& sourceFolder, const std::string& volumeName, HfsKind kind,
                            std::uint64_t leastBytes) {
    if (leastBytes / kBlockSize > std::numeric_limits<std::int32_t>::max()) {
        throw ImageError(ImageError::Kind::kUnsupported, "the volume would be larger than eight terabytes");
    }
    const bool caseSensitive = kind == HfsKind::kX;
    auto source = std::make_shared<const HfsSource>(sourceFolder.empty() ? emptyHfsSource(caseSensitive)
                                                                         : scanHfsSource(sourceFolder, caseSensitive));
    return Layout(std::move(source), volumeName, toHfsTime(::time(nullptr))).make(blocksFor(leastBytes));
}

} // namespace hdi
