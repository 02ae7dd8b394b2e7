#pragma once

#include "hdiutil/image/ByteSource.h"
#include "hdiutil/volume/HfsFormat.h"

#include <cstdint>
#include <map>
#include <span>
#include <tuple>
#include <vector>

namespace hdi::hfs {

// A run of allocation blocks and where in its file it begins.
struct Run {
    std::uint32_t fileBlock = 0;
    std::uint32_t start = 0;
    std::uint32_t count = 0;
};

// The volume's blocks as files see them.
//
// Threads: any number at once. Errors: ImageError; every read is bounded by the volume's size and by the runs.
class BlockSpace {
public:
    BlockSpace(ByteSourcePtr volume, std::uint32_t blockSize, std::uint32_t totalBlocks);

    // In bytes: what the volume claims, but no more than there is.
    std::uint64_t size() const { return size_; }

    // Fills `into` from `offset` of the file made of `runs`, which are in the file's order. Throws kDamaged when they
    // do not reach that far or lie outside the volume.
    void read(std::span<const Run> runs, std::uint64_t offset, std::span<std::byte> into) const;

private:
    ByteSourcePtr volume_;
    std::uint32_t blockSize_;
    std::uint64_t size_; // bytes
};

// The extents that did not fit into the catalog's records, by file, fork and first block.
struct OverflowKey {
    std::uint32_t fileId = 0;
    std::uint8_t forkType = 0; // 0: data, 0xFF: resources
    std::uint32_t fileBlock = 0;

    bool operator<(const OverflowKey& other) const {
        return std::tie(fileId, forkType, fileBlock) < std::tie(other.fileId, other.forkType, other.fileBlock);
    }
};

using OverflowExtents = std::map<OverflowKey, ExtentRecord>;

// Appends all runs of a fork, those of the overflow file included. Extents are not judged here but when they are read:
// one bad file does not spoil a volume.
void appendRuns(std::vector<Run>& runs, const Fork& fork, const OverflowExtents& overflow, std::uint32_t fileId,
                std::uint8_t forkType);

// A fork as bytes that can be read at any place.
class ForkSource final : public ByteSource {
public:
    ForkSource(BlockSpace space, std::vector<Run> runs, std::uint64_t size)
        : space_(std::move(space)), runs_(std::move(runs)), size_(size) {}

    std::uint64_t size() const override { return size_; }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    BlockSpace space_;
    std::vector<Run> runs_;
    std::uint64_t size_;
};

} // namespace hdi::hfs
