#pragma once

#include "hdiutil/volume/Volume.h"

#include <memory>
#include <vector>

namespace hdi {

// Every readable volume of an APFS container, none when `partition` holds no container.
//
// What reads them is a module of its own, loaded with the first container: the library beneath it brings cryptography
// along, and looking up its symbols would double the time that every run takes to reach main(). It lies in ../lib
// beside the program, or where the system looks for libraries, and stays loaded.
//
// Throws ImageError: kEncrypted when all volumes are encrypted, kDamaged, kUnsupported when there is no module.
std::vector<std::unique_ptr<Volume>> openApfsVolumes(const ByteSourcePtr& partition);

// The module's one symbol.
constexpr const char* kApfsEntryPoint = "hdiutilOpenApfsVolumes";
using ApfsEntryPoint = void (*)(const ByteSourcePtr& partition, std::vector<std::unique_ptr<Volume>>& into);

// Loads the module, once. A program with static libraries has its contents linked. Throws ImageError as above.
ApfsEntryPoint findApfsEntryPoint();

} // namespace hdi
