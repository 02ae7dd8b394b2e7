#include "hdiutil/image/UdifImage.h"

#include "base/PropertyListParser.h"
#include "hdiutil/image/ChunkedDisk.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Licence.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/image/UdifChecksums.h"
#include "hdiutil/image/UdifPlist.h"

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

namespace hdi {

namespace {

// The kind that most of the compressed runs have; raw when there are none.
RunType mainType(const std::vector<UdifRun>& runs) {
    std::map<RunType, std::size_t> counts;
    for (const UdifRun& run : runs) {
        counts[run.type] += isCompressed(run.type) ? 1 : 0;
    }
    const auto most = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == counts.end() || most->second == 0 ? RunType::kRaw : most->first;
}

// Some writers leave the disk's size out of the trailer; then it ends where the last table does.
std::uint64_t endOf(const std::vector<UdifTable>& tables) {
    std::uint64_t end = 0;
    for (const UdifTable& table : tables) {
        end = std::max(end, table.firstSector + table.sectorCount);
    }
    return end;
}

class UdifImage final : public DiskImage {
public:
    UdifImage(ByteSourcePtr file, UdifTrailer trailer, const Resources& resources, const ReadOptions& options)
        : file_(std::move(file)), trailer_(trailer), threads_(options.threads), sums_(options.sums),
          licences_(licenceTexts(resources)) {
        const auto tables = resources.find("blkx");
        if (tables == resources.end()) {
            throw ImageError(ImageError::Kind::kDamaged, "the image has no chunk tables");
        }
        const std::uint64_t limit = trailer_.sectorCount != 0 ? trailer_.sectorCount : kMaxSectors;
        for (const Resource& table : tables->second) {
            tables_.push_back(parseUdifTable(table.data, trailer_.dataOffset, file_->size(), limit));
            tables_.back().name = table.name;
        }
        sectorCount_ = trailer_.sectorCount != 0 ? trailer_.sectorCount : endOf(tables_);
        auto runs = orderedRuns(tables_);
        describe(runs);
        disk_ = makeChunkedDisk(file_, std::move(runs), sectorCount_, options);
    }

    ByteSourcePtr disk() const override { return disk_; }
    const ImageFacts& facts() const override { return facts_; }
    std::vector<std::string> licences() const override { return licences_; }
    bool verifyDataFork() const override { return verifyDataChecksum(*file_, trailer_, threads_, sums_.get()); }
    void verifyTables(const std::function<void(double)>& progress) const override {
        verifyTableChecksums(*file_, trailer_, tables_, threads_, progress);
    }

private:
    void describe(const std::vector<UdifRun>& runs) {
        const Codec& format = *codecOf(mainType(runs));
        facts_.format = format.format;
        facts_.description = format.description;
        facts_.diskBytes = sectorCount_ * kSectorBytes;
        facts_.fileBytes = file_->size();
        facts_.chunkCount = runs.size();
        facts_.hasDataForkChecksum = trailer_.dataChecksum.crc32().has_value();
        facts_.hasTableChecksums =
            std::ranges::any_of(tables_, [](const UdifTable& table) { return table.checksum.crc32().has_value(); });
        facts_.hasLicence = !licences_.empty();
    }

    const ByteSourcePtr file_;
    const UdifTrailer trailer_;
    const unsigned threads_;
    const std::shared_ptr<const PieceSums> sums_;
    const std::vector<std::string> licences_;
    std::vector<UdifTable> tables_;
    std::uint64_t sectorCount_ = 0;
    ImageFacts facts_;
    ByteSourcePtr disk_;
};

} // namespace

std::unique_ptr<DiskImage> openUdifImage(const ByteSourcePtr& file, const ReadOptions& options) {
    const auto trailer = readUdifTrailer(*file);
    if (!trailer) {
        return nullptr;
    }
    if (trailer->segmentCount > 1) { // its other files are looked for beside a path, and here is none
        throw ImageError(ImageError::Kind::kUnsupported, "an image in several files inside another is not supported");
    }
    return openUdifImage(file, *trailer, options);
}

std::unique_ptr<DiskImage> openUdifImage(const ByteSourcePtr& file, const UdifTrailer& trailer,
                                         const ReadOptions& options) {
    if (trailer.plistLength == 0) {
        throw ImageError(ImageError::Kind::kUnsupported, "images without a property list are not supported");
    }
    if (trailer.plistLength > base::kLargestPropertyList) {
        throw ImageError(ImageError::Kind::kDamaged, "the image's property list is too large");
    }
    std::vector<std::byte> xml(static_cast<std::size_t>(trailer.plistLength));
    file->read(trailer.plistOffset, xml);
    return std::make_unique<UdifImage>(file, trailer, parseUdifPlist(xml), options);
}

} // namespace hdi
