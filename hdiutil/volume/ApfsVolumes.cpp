#include "hdiutil/volume/ApfsVolumes.h"

#include "hdiutil/image/ImageError.h"

#include <dlfcn.h>

#include <array>
#include <cstring>
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

// Facts: Apple, "Apple File System Reference", "nx_superblock_t".
bool isContainer(const ByteSource& partition) {
    std::array<std::byte, 4096> block{};
    if (partition.size() < block.size()) {
        return false;
    }
    partition.read(0, block);
    return std::memcmp(block.data() + 32, "NXSB", 4) == 0;
}

ApfsEntryPoint loadModule() {
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

} // namespace

std::vector<std::unique_ptr<Volume>> openApfsVolumes(const ByteSourcePtr& partition) {
    std::vector<std::unique_ptr<Volume>> volumes;
    if (isContainer(*partition)) {
        static const ApfsEntryPoint kOpen = loadModule();
        kOpen(partition, volumes);
    }
    return volumes;
}

} // namespace hdi
