#include "hdiutil/volume/HfsFork.h"

#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <limits>

namespace hdi::hfs {

namespace {

// The extents of one record, up to the first empty one; `fileBlock` is where they begin in the file. Gives the file
// block after them.
std::uint32_t appendRecord(std::vector<Run>& runs, const ExtentRecord& record, std::uint32_t fileBlock) {
    for (const Extent& extent : record) {
        if (extent.count == 0 || extent.count > std::numeric_limits<std::uint32_t>::max() - fileBlock) {
            break;
        }
        runs.push_back({fileBlock, extent.start, extent.count});
        fileBlock += extent.count;
    }
    return fileBlock;
}

} // namespace

void BlockSpace::read(std::span<const Run> runs, std::uint64_t offset, std::span<std::byte> into) const {
    const auto isBefore = [this](std::uint64_t at, const Run& run) {
        return at < static_cast<std::uint64_t>(run.fileBlock) * blockSize_;
    };
    auto run = std::upper_bound(runs.begin(), runs.end(), offset, isBefore);
    if (run != runs.begin()) {
        --run;
    }
    for (; !into.empty(); ++run) {
        if (run == runs.end()) {
            damaged("a file is longer than its blocks");
        }
        const std::uint64_t begin = static_cast<std::uint64_t>(run->fileBlock) * blockSize_;
        const std::uint64_t length = static_cast<std::uint64_t>(run->count) * blockSize_;
        if (offset < begin || offset - begin >= length) {
            damaged("a file is longer than its blocks");
        }
        const std::uint64_t inside = offset - begin;
        const std::uint64_t place = static_cast<std::uint64_t>(run->start) * blockSize_ + inside;
        const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), length - inside));
        if (place > size_ || part > size_ - place) {
            damaged("a file's blocks lie outside its volume");
        }
        volume_->read(place, into.first(part));
        into = into.subspan(part);
        offset += part;
    }
}

BlockSpace::BlockSpace(ByteSourcePtr volume, std::uint32_t blockSize, std::uint32_t totalBlocks)
    : volume_(std::move(volume)), blockSize_(blockSize),
      size_(std::min(volume_->size(), static_cast<std::uint64_t>(blockSize) * totalBlocks)) {}

void appendRuns(std::vector<Run>& runs, const Fork& fork, const OverflowExtents& overflow, std::uint32_t fileId,
                std::uint8_t forkType) {
    std::uint32_t next = appendRecord(runs, fork.extents, 0);
    for (auto found = overflow.find({fileId, forkType, next}); found != overflow.end();) {
        const std::uint32_t before = next;
        next = appendRecord(runs, found->second, next);
        found = next == before ? overflow.end() : overflow.find({fileId, forkType, next});
    }
}

void ForkSource::doRead(std::uint64_t offset, std::span<std::byte> into) const {
    space_.read(runs_, offset, into);
}

} // namespace hdi::hfs
