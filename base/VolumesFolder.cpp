#include "base/VolumesFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace base {
namespace {

bool isAbsolute(const char* path) {
    return path != nullptr && path[0] == '/';
}

} // namespace

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool isPrivateFolder(const std::string& path, uid_t user) {
    constexpr mode_t kPermissions = 07777;
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == user &&
           (facts.st_mode & kPermissions) == S_IRWXU;
}

VolumesFolder chooseVolumesFolder(const char* systemRoot, const char* runtimeFolder, uid_t user) {
    if (isAbsolute(systemRoot)) {
        const std::string root = withoutTrailingSlashes(systemRoot);
        return {root == "/" ? "/Volumes" : root + "/Volumes", 0755, false};
    }
    const std::string runtime = isAbsolute(runtimeFolder) ? withoutTrailingSlashes(runtimeFolder) : std::string();
    if (!runtime.empty() && isPrivateFolder(runtime, user)) {
        return {runtime + "/Volumes", 0700, true};
    }
    return {"/tmp/volumes-" + std::to_string(user), 0700, true};
}

VolumesFolder volumesFolder() {
    return chooseVolumesFolder(std::getenv("QN_SYSTEM_ROOT"), std::getenv("XDG_RUNTIME_DIR"), ::geteuid());
}

} // namespace base
