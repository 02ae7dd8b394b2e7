#include "hdiutil/front/Convert.h"

#include "hdiutil/create/RawWriter.h"
#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImagePaths.h"
#include "hdiutil/front/PasswordPrompt.h"
#include "hdiutil/front/Progress.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Sectors.h"
#include "hdiutil/partition/PartitionMap.h"

#include <algorithm>
#include <filesystem>

namespace hdi {
namespace {

namespace fs = std::filesystem;

// Collects the ranges of a disk in their order.
class Ranges {
public:
    // Up to `sector`, which lies behind what there is.
    void fillUpTo(std::uint64_t sector) {
        if (sector > end_) {
            add("", "Apple_Free", sector - end_);
        }
    }
    void add(const std::string& name, const std::string& content, std::uint64_t length) {
        ranges_.push_back({name + " (" + content + " : " + std::to_string(ranges_.size()) + ")", end_, length});
        end_ += length;
    }
    std::uint64_t end() const { return end_; }
    std::vector<DiskRange> take() { return std::move(ranges_); }

private:
    std::vector<DiskRange> ranges_;
    std::uint64_t end_ = 0;
};

std::vector<Partition> partitionsOf(const ByteSource& disk) {
    try {
        return readPartitionMap(disk).partitions;
    } catch (const ImageError&) { // a disk with a damaged map is copied as it is, all the same
        return {};
    }
}

// What the chunk tables of a disk are about: its partitions, and what lies between them.
std::vector<DiskRange> rangesOf(const ByteSource& disk) {
    std::vector<Partition> partitions = partitionsOf(disk);
    std::ranges::sort(partitions, {}, &Partition::offset);
    Ranges ranges;
    const std::uint64_t sectors = disk.size() / kSectorBytes;
    for (const Partition& partition : partitions) {
        const std::uint64_t first = partition.offset / kSectorBytes;
        const std::uint64_t length = partition.length / kSectorBytes;
        // One that lies in another is a part of that; one that was not made of sectors, of what is around it.
        if (first < ranges.end() || length == 0 || partition.offset % kSectorBytes != 0) {
            continue;
        }
        ranges.fillUpTo(first);
        ranges.add("disk image", partition.content, length);
    }
    ranges.fillUpTo(sectors);
    return ranges.take();
}

void write(const DiskImage& image, const ConvertOptions& options, const PasswordPtr& password) {
    Progress progress("Converting");
    const auto show = [&progress](double fraction) { progress.show(fraction); };
    const NewEncryption encryption{options.encryptionBits, password};
    const ByteSourcePtr disk = image.disk();
    if (!options.format) {
        return writeRaw(*disk, options.output, encryption, show);
    }
    WriteOptions writing;
    writing.format = *options.format;
    const std::vector<std::string> licences = image.licences();
    writing.licence = licences.empty() ? std::string() : licences.front(); // the default language's
    writing.encryption = encryption;
    writing.progress = show;
    writeUdif(*disk, rangesOf(*disk), options.output, writing);
}

} // namespace

std::string convertImage(const ConvertOptions& options, const std::string& path, bool passwordFromInput) {
    requireFreePath("convert", options.output, options.replace);
    try {
        requireImageFile("convert", path);
        const PasswordPtr password = passwordFor("convert", path, passwordFromInput);
        ReadOptions reading;
        reading.password = password.get();
        const std::unique_ptr<DiskImage> image = DiskImage::open(path, reading);
        PasswordPtr forNew;
        if (options.encryptionBits != 0) {
            forNew = image->facts().isEncrypted ? password : newPassword("convert", passwordFromInput);
        }
        write(*image, options, forNew);
    } catch (const ImageError& error) {
        const bool unknown = error.kind() == ImageError::Kind::kNotRecognized;
        throw FrontError(std::string("convert failed - ") + (unknown ? "image not recognized" : error.what()));
    }
    return "created: " + fs::absolute(options.output).lexically_normal().string() + "\n";
}

} // namespace hdi
