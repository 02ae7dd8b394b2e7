#pragma once

#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/OpenedImage.h"
#include "hdiutil/front/VolumesFolder.h"

#include <optional>
#include <string>
#include <vector>

namespace hdi {

// The rows of an image that is about to be attached, one per slot, with mount points chosen and made. What was made is
// taken back when the object goes, unless keep() was called. Used under the lock of AttachedState.
class MountPoints {
public:
    // `wanted` replaces /Volumes/NAME for an image with one volume. With `dataFolder` the volumes will be extracted to
    // folders below it and the mount points are symlinks to them; without it they are folders to mount on. Throws
    // FrontError.
    MountPoints(const OpenedImage& opened, int disk, const VolumesFolder& volumes,
                const std::optional<std::string>& wanted, const std::string& dataFolder = {});
    MountPoints(const MountPoints&) = delete;
    MountPoints& operator=(const MountPoints&) = delete;
    ~MountPoints();

    const std::vector<AttachedRow>& rows() const { return rows_; }
    void keep() { rows_.clear(); }

private:
    void makeRow(const ImageSlot& slot, const std::string& device, const std::optional<std::string>& wanted);
    std::string makeNamed(AttachedRow& row, const std::string& name);
    void makeWanted(AttachedRow& row, const std::string& name, const std::string& path);
    bool make(AttachedRow& row) const;

    const VolumesFolder& volumes_;
    const std::string dataFolder_;
    std::vector<AttachedRow> rows_;
};

// Whether the one volume among the rows is mounted at `wanted`, a path in any spelling.
bool isMountedAt(const std::vector<AttachedRow>& rows, const std::string& wanted);

// Takes back a mount point with nothing mounted on it, and extracted contents with it. False when something stays.
bool removeMountPoint(const AttachedRow& row);

// Where a volume is extracted to until it is whole.
std::string incompletePath(const std::string& dataFolder);

} // namespace hdi
