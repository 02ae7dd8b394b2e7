#include "hdiutil/volume/ApfsVolumes.h"
#include "hdiutil/volume/ForeignFileSystems.h"
#include "hdiutil/volume/HfsVolume.h"
#include "hdiutil/volume/Volume.h"

namespace hdi {

std::vector<std::unique_ptr<Volume>> openVolumes(const ByteSourcePtr& partition) {
    std::vector<std::unique_ptr<Volume>> volumes;
    if (auto volume = HfsVolume::open(partition)) {
        volumes.push_back(std::move(volume));
        return volumes;
    }
    volumes = openApfsVolumes(partition);
    if (!volumes.empty()) {
        return volumes;
    }
    refuseForeignFileSystem(*partition);
    return volumes;
}

} // namespace hdi
