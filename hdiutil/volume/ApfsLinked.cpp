#include "hdiutil/volume/ApfsVolumes.h"

extern "C" void hdiutilOpenApfsVolumes(const hdi::ByteSourcePtr& partition,
                                       std::vector<std::unique_ptr<hdi::Volume>>& into);

namespace hdi {

ApfsEntryPoint findApfsEntryPoint() {
    return &hdiutilOpenApfsVolumes;
}

} // namespace hdi
