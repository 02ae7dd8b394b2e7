#include "hdiutil/front/VolumesFolder.h"

#include "hdiutil/front/FrontError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace hdi {
namespace {

bool isAbsolute(const char* path) {
    return path != nullptr && path[0] == '/';
}

bool hasMode0700(const std::string& path, uid_t user) {
    struct stat facts {};
    return lstat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == user &&
           (facts.st_mode & 07777) == 0700;
}

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

VolumesFolderChoice chooseVolumesFolder(const char* systemRoot, const char* runtimeFolder, uid_t user) {
    if (isAbsolute(systemRoot)) {
        const std::string root = withoutTrailingSlashes(systemRoot);
        return {root == "/" ? "/Volumes" : root + "/Volumes", 0755, false};
    }
    if (isAbsolute(runtimeFolder) && hasMode0700(withoutTrailingSlashes(runtimeFolder), user)) {
        return {withoutTrailingSlashes(runtimeFolder) + "/Volumes", 0700, true};
    }
    return {"/tmp/volumes-" + std::to_string(user), 0700, true};
}

VolumesFolder VolumesFolder::open() {
    const uid_t user = geteuid();
    const VolumesFolderChoice choice =
        chooseVolumesFolder(std::getenv("QN_SYSTEM_ROOT"), std::getenv("XDG_RUNTIME_DIR"), user);
    if (mkdir(choice.path.c_str(), choice.mode) != 0 && errno != EEXIST) {
        throw FrontError("cannot create the volumes folder \"" + choice.path + "\" - " + errorText(errno));
    }
    const bool usable = choice.mustBePrivate ? hasMode0700(choice.path, user) : true;
    if (!usable) {
        throw FrontError("the volumes folder \"" + choice.path + "\" is not a folder of yours with mode 0700");
    }
    return VolumesFolder(choice.path);
}

std::string VolumesFolder::realPath(const std::string& shown) const {
    constexpr std::string_view kPrefix = "/Volumes/";
    std::string trimmed = withoutTrailingSlashes(shown);
    if (std::string_view(trimmed).starts_with(kPrefix)) {
        return path_ + "/" + trimmed.substr(kPrefix.size());
    }
    return trimmed;
}

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return isAbsolute(folder) ? withoutTrailingSlashes(folder) : std::string("/tmp");
}

} // namespace hdi
