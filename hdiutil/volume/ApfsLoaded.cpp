#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/ApfsVolumes.h"

#include <dlfcn.h>

#include <filesystem>
#include <string>

namespace hdi {

namespace {

// Beside the program. Not left to a run path alone, along which every library of every start would be looked for.
constexpr const char* kModule = "libhdiutil_apfs.so";

void* openBesideProgram() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path module = program.parent_path().parent_path() / "lib" / kModule;
    return error ? nullptr : dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
}

} // namespace

ApfsEntryPoint findApfsEntryPoint() {
    void* module = openBesideProgram();
    if (module == nullptr) {
        module = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
    }
    void* const symbol = module == nullptr ? nullptr : dlsym(module, kApfsEntryPoint);
    if (symbol == nullptr) {
        throw ImageError(ImageError::Kind::kUnsupported, std::string("APFS cannot be read here: ") + dlerror());
    }
    return reinterpret_cast<ApfsEntryPoint>(symbol);
}

} // namespace hdi
