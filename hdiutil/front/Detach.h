#pragma once

#include "hdiutil/front/AttachRecord.h"

#include <optional>
#include <string>

namespace hdi {

struct DetachOptions {
    std::string target;    // /Volumes/NAME, the real folder, diskN, /dev/diskN, /dev/diskNsM
    bool wholeDisk = true; // false for `unmount`: only the volume
    bool force = false;
};

// Takes back an attached image, or one volume of it, whichever way it was attached, and whatever is left of one whose
// daemon, folder or boot is gone. Returns what to say on standard output. Throws FrontError, with kStatusBusy while
// something is open in the volume.
std::string detachImage(const DetachOptions& options);

// 2 and "s1" of "disk2s1" and "/dev/disk2s1". Absent for anything else. Pure.
struct DeviceName {
    int disk = 0;
    std::string slice;
};
std::optional<DeviceName> parseDeviceName(std::string_view text);

} // namespace hdi
