#include "hdiutil/volume/ApfsVolume.h"
#include "hdiutil/volume/ApfsVolumes.h"

#include <type_traits>

extern "C" [[gnu::visibility("default")]] void hdiutilOpenApfsVolumes(const hdi::ByteSourcePtr& partition,
                                                                      std::vector<std::unique_ptr<hdi::Volume>>& into) {
    into = hdi::ApfsVolume::openAll(partition);
}

static_assert(std::is_same_v<decltype(&hdiutilOpenApfsVolumes), hdi::ApfsEntryPoint>);
