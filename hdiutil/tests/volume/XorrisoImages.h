#pragma once

#include "hdiutil/tests/image/TestBytes.h"

#include <string>

// Volumes that are neither ours nor macOS's.
namespace hdi::test {

// Each makes "out.iso" with the volume "Volume" of the "source" in the folder that it runs in.
inline constexpr const char* kXorrisoCommands[] = {
    "xorriso -as mkisofs -hfsplus -V Volume -o out.iso source",
    "xorriso -hfsplus on -volid Volume -outdev out.iso -map source /",
    "xorriso -as mkisofs -hfsplus -hfsplus-block-size 512 -V Volume -o out.iso source"};

void makeXorrisoSource(const std::string& folder);
void runXorriso(const std::string& folder, const std::string& command);

// The HFS+ part of such a hybrid image, without what follows it.
Bytes hfsPart(const std::string& path);

} // namespace hdi::test
