#include "hdiutil/image/Module.h"

#include "hdiutil/image/ImageError.h"

#include <dlfcn.h>

#include <filesystem>
#include <string>

namespace hdi {

namespace {

// Beside the program. Not left to a run path alone, along which every library of every start would be looked for.
void* openBesideProgram(const char* name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path module = program.parent_path().parent_path() / "lib" / name;
    return error ? nullptr : dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
}

} // namespace

void* moduleFunction(const char* module, const char* function, const char* what) {
    void* opened = openBesideProgram(module);
    if (opened == nullptr) {
        opened = dlopen(module, RTLD_NOW | RTLD_LOCAL);
    }
    void* const symbol = opened == nullptr ? nullptr : dlsym(opened, function);
    if (symbol == nullptr) {
        throw ImageError(ImageError::Kind::kUnsupported, std::string(what) + " cannot be read here: " + dlerror());
    }
    return symbol;
}

} // namespace hdi
