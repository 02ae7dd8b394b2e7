#include "hdiutil/image/Module.h"
#include "hdiutil/volume/ApfsVolumes.h"

namespace hdi {

ApfsEntryPoint findApfsEntryPoint() {
    return reinterpret_cast<ApfsEntryPoint>(moduleFunction("libhdiutil_apfs.so", kApfsEntryPoint, "APFS"));
}

} // namespace hdi
