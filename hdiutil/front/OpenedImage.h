#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/volume/Volume.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace hdi {

// One line of the future table: a partition, or a further volume of one, with what is to be mounted.
struct ImageSlot {
    std::string suffix;             // of the device: "", "s1", "s2s3"
    std::string content;            // "Apple_HFS"
    std::unique_ptr<Volume> volume; // absent when nothing is mounted
};

// An image with everything found in it.
struct OpenedImage {
    std::unique_ptr<DiskImage> image;
    std::vector<ImageSlot> slots;
    std::string warnings; // lines for standard error: volumes that could not be used beside others that could

    std::size_t volumeCount() const;
};

// Opens the container, the partition map and every volume. Throws FrontError with the wording of `attach`.
OpenedImage openImage(const std::string& path, const ReadOptions& options = {});

class ImageError;
// What to throw for what the image's reader threw. Pure.
AttachError attachFailure(const ImageError& error);

// Absent when it is no regular file nor a sparse bundle, or cannot be looked at; errno tells.
std::optional<ImageIdentity> identityOf(const std::string& path);

} // namespace hdi
