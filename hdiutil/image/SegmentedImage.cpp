#include "hdiutil/image/SegmentedImage.h"

#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/JoinedSource.h"

#include <filesystem>
#include <utility>

namespace hdi {

namespace {

constexpr std::uint32_t kMostSegments = 999;

// A part of a file.
class Part final : public ByteSource {
public:
    Part(ByteSourcePtr file, std::uint64_t offset, std::uint64_t length)
        : file_(std::move(file)), offset_(offset), length_(length) {}

    std::uint64_t size() const override { return length_; }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override { file_->read(offset_ + offset, into); }

private:
    ByteSourcePtr file_;
    std::uint64_t offset_;
    std::uint64_t length_;
};

std::string partPath(const std::string& path, std::uint32_t number) {
    std::string digits = std::to_string(number);
    digits.insert(0, 3 - digits.size(), '0');
    std::filesystem::path name(path);
    return name.replace_extension("." + digits + ".dmgpart").string();
}

} // namespace

std::unique_ptr<DiskImage> openSegmentedImage(const std::string& path, const ByteSourcePtr& first,
                                              const UdifTrailer& trailer, const ReadOptions& options) {
    if (trailer.segmentNumber != 1) {
        throw ImageError(ImageError::Kind::kUnsupported,
                         "this is part " + std::to_string(trailer.segmentNumber) +
                             " of an image in several files; the one that ends in .dmg is to be named");
    }
    if (trailer.segmentCount > kMostSegments) {
        damaged("the image claims to be in more files than there are names for");
    }
    auto joined = std::make_shared<JoinedSource>();
    joined->append(std::make_shared<Part>(first, trailer.dataOffset, trailer.dataLength));
    for (std::uint32_t number = 2; number <= trailer.segmentCount; ++number) {
        const std::string name = partPath(path, number);
        const ByteSourcePtr file = openFile(name);
        const std::optional<UdifTrailer> part = readUdifTrailer(*file);
        if (!part || part->segmentNumber != number || part->segmentCount != trailer.segmentCount ||
            part->segmentId != trailer.segmentId || part->dataBegin != joined->size()) {
            damaged(name + " is not the next part of the image");
        }
        joined->append(std::make_shared<Part>(file, part->dataOffset, part->dataLength));
    }
    UdifTrailer whole = trailer;
    whole.dataOffset = 0;
    whole.dataLength = joined->size();
    whole.plistOffset = joined->size();
    whole.segmentCount = 1;
    whole.dataChecksum = {}; // each part has one of its own; those of the tables cover everything
    joined->append(std::make_shared<Part>(first, trailer.plistOffset, trailer.plistLength));
    return openUdifImage(joined, whole, options);
}

} // namespace hdi
