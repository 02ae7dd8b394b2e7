#include "hdiutil/front/OpenedImage.h"

#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/SparseImage.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace hdi {
namespace {

std::string suffixOf(int partition) {
    return partition == 0 ? "" : "s" + std::to_string(partition);
}

std::int64_t nanoseconds(const timespec& time) {
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

// The first volume stands in its partition's line, further ones (APFS holds any number) get lines of their own.
void addVolumes(OpenedImage& opened, const Partition& partition, std::vector<std::unique_ptr<Volume>> volumes) {
    const std::string suffix = suffixOf(partition.number);
    ImageSlot slot{suffix, partition.content, nullptr};
    if (!volumes.empty()) {
        slot.volume = std::move(volumes.front());
    }
    opened.slots.push_back(std::move(slot));
    for (std::size_t i = 1; i < volumes.size(); ++i) {
        opened.slots.push_back({suffix + "s" + std::to_string(i + 1), partition.content, std::move(volumes[i])});
    }
}

class SlotFinder {
public:
    explicit SlotFinder(OpenedImage& opened) : opened_(opened), disk_(opened.image->disk()) {}

    void findAll() {
        const PartitionMap map = readPartitionMap(*disk_);
        const bool listsWholeDisk =
            std::any_of(map.partitions.begin(), map.partitions.end(), [](const Partition& p) { return p.number == 0; });
        if (!listsWholeDisk && !map.scheme.empty()) {
            opened_.slots.push_back({"", map.scheme, nullptr});
        }
        for (const Partition& partition : map.partitions) {
            addVolumes(opened_, partition, openPartition(partition));
        }
        if (opened_.volumeCount() == 0 && firstError_) {
            throw *firstError_;
        }
    }

private:
    // One damaged volume does not keep the others from being used.
    std::vector<std::unique_ptr<Volume>> openPartition(const Partition& partition) {
        try {
            return openVolumes(slice(disk_, partition.offset, partition.length));
        } catch (const ImageError& error) {
            note(partition, error);
            return {};
        }
    }

    void note(const Partition& partition, const ImageError& error) {
        // macOS puts an EFI partition that nothing can read into every disk it makes: not worth a line.
        if (partition.content != "EFI") {
            opened_.warnings +=
                "hdiutil: warning: partition " + std::to_string(partition.number) + " - " + error.what() + "\n";
        }
        const bool betterReason = !firstError_ || firstError_->kind() == ImageError::Kind::kUnsupported;
        if (betterReason) {
            firstError_ = error;
        }
    }

    OpenedImage& opened_;
    ByteSourcePtr disk_;
    std::optional<ImageError> firstError_;
};

} // namespace

std::size_t OpenedImage::volumeCount() const {
    return static_cast<std::size_t>(
        std::count_if(slots.begin(), slots.end(), [](const ImageSlot& slot) { return slot.volume != nullptr; }));
}

AttachError attachFailure(const ImageError& error) {
    const ImageError::Kind kind = error.kind();
    if (kind == ImageError::Kind::kNotRecognized) {
        return AttachError("image not recognized");
    }
    const bool corrupted = kind == ImageError::Kind::kDamaged || kind == ImageError::Kind::kOutOfRange;
    return AttachError(corrupted ? std::string("image data corrupted (") + error.what() + ")" : error.what());
}

OpenedImage openImage(const std::string& path, const ReadOptions& options) {
    OpenedImage opened;
    try {
        opened.image = DiskImage::open(path, options);
        SlotFinder(opened).findAll();
    } catch (const ImageError& error) {
        throw attachFailure(error);
    }
    if (opened.volumeCount() == 0) {
        throw AttachError("no mountable file systems");
    }
    return opened;
}

std::optional<ImageIdentity> identityOf(const std::string& path) {
    struct stat facts {};
    // A folder of bands changes with every band that is added.
    const bool isBundle = isSparseBundle(path);
    if (stat((isBundle ? path + "/bands" : path).c_str(), &facts) != 0) {
        return std::nullopt;
    }
    if (!isBundle && (S_ISDIR(facts.st_mode) || !S_ISREG(facts.st_mode))) {
        errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
        return std::nullopt;
    }
    return ImageIdentity{facts.st_dev, facts.st_ino, static_cast<std::uint64_t>(facts.st_size),
                         nanoseconds(facts.st_mtim), nanoseconds(facts.st_ctim)};
}

} // namespace hdi
