#include "hdiutil/image/ChunkedDisk.h"

#include "hdiutil/image/ChunkCache.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/RunReader.h"
#include "hdiutil/image/Sectors.h"

#include <algorithm>
#include <utility>

namespace hdi {

namespace {

std::uint64_t endOf(const UdifRun& run) {
    return run.sector + run.sectorCount;
}

class ChunkedDisk final : public ByteSource {
public:
    ChunkedDisk(ByteSourcePtr file, std::vector<UdifRun> runs, std::uint64_t sectorCount, const ReadOptions& options)
        : file_(std::move(file)), runs_(std::move(runs)), size_(sectorCount * kSectorBytes),
          compressed_(compressedAmong(runs_)), cache_(cacheSource(), options.cacheBytes, options.threads) {}

    std::uint64_t size() const override { return size_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        std::size_t run = firstRunBehind(offset / kSectorBytes);
        while (!into.empty()) {
            const std::size_t done = readPiece(run, offset, into);
            offset += done;
            into = into.subspan(done);
            if (run < runs_.size() && offset >= endOf(runs_[run]) * kSectorBytes) {
                ++run;
            }
        }
    }

private:
    static std::vector<std::size_t> compressedAmong(const std::vector<UdifRun>& runs) {
        std::vector<std::size_t> compressed;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (isCompressed(runs[i].type)) {
                compressed.push_back(i);
            }
        }
        return compressed;
    }

    ChunkCache::Source cacheSource() const {
        return {compressed_.size(),
                [this](std::size_t chunk) {
                    return static_cast<std::size_t>(runs_[compressed_[chunk]].sectorCount * kSectorBytes);
                },
                [this](std::size_t chunk, std::span<std::byte> into) {
                    readCompressedRun(*file_, runs_[compressed_[chunk]], into);
                }};
    }

    // The first run that ends behind `sector`.
    std::size_t firstRunBehind(std::uint64_t sector) const {
        const auto found = std::upper_bound(runs_.begin(), runs_.end(), sector,
                                            [](std::uint64_t at, const UdifRun& run) { return at < endOf(run); });
        return static_cast<std::size_t>(found - runs_.begin());
    }

    // Reads what lies before run `index` or in it; returns how much, at least one byte.
    std::size_t readPiece(std::size_t index, std::uint64_t offset, std::span<std::byte> into) const {
        const std::uint64_t start = index < runs_.size() ? runs_[index].sector * kSectorBytes : size_;
        if (offset < start) {
            return fillZeros(into, start - offset);
        }
        const UdifRun& run = runs_[index];
        const std::uint64_t within = offset - start;
        const std::uint64_t left = run.sectorCount * kSectorBytes - within;
        if (!isCompressed(run.type) && run.type != RunType::kRaw) {
            return fillZeros(into, left);
        }
        const auto piece = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), left)));
        if (run.type == RunType::kRaw) {
            file_->read(run.offset + within, piece);
        } else {
            const auto found = std::lower_bound(compressed_.begin(), compressed_.end(), index);
            cache_.read(static_cast<std::size_t>(found - compressed_.begin()), static_cast<std::size_t>(within), piece);
        }
        return piece.size();
    }

    static std::size_t fillZeros(std::span<std::byte> into, std::uint64_t length) {
        const auto piece = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), length)));
        std::fill(piece.begin(), piece.end(), std::byte{0});
        return piece.size();
    }

    const ByteSourcePtr file_;
    const std::vector<UdifRun> runs_;
    const std::uint64_t size_;
    const std::vector<std::size_t> compressed_; // indices into runs_
    mutable ChunkCache cache_;
};

} // namespace

std::vector<UdifRun> orderedRuns(const std::vector<UdifTable>& tables) {
    std::vector<UdifRun> runs;
    for (const UdifTable& table : tables) {
        runs.insert(runs.end(), table.runs.begin(), table.runs.end());
    }
    std::sort(runs.begin(), runs.end(), [](const UdifRun& a, const UdifRun& b) { return a.sector < b.sector; });
    const auto overlap = std::adjacent_find(runs.begin(), runs.end(),
                                            [](const UdifRun& a, const UdifRun& b) { return endOf(a) > b.sector; });
    if (overlap != runs.end()) {
        throw ImageError(ImageError::Kind::kDamaged, "chunks of the image overlap");
    }
    return runs;
}

ByteSourcePtr makeChunkedDisk(ByteSourcePtr file, std::vector<UdifRun> runs, std::uint64_t sectorCount,
                              const ReadOptions& options) {
    return std::make_shared<ChunkedDisk>(std::move(file), std::move(runs), sectorCount, options);
}

} // namespace hdi
