#include "tools/launcher/Folders.h"

#include "tools/launcher/Problem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace launcher {

namespace {

// An absolute path; empty when the variable has none.
std::string pathIn(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

// $HOME/.cache, which a fresh account lacks.
std::string cacheOfHome() {
    const std::string home = pathIn("HOME");
    if (home.empty()) {
        return {};
    }
    std::string cache = home + "/.cache";
    static_cast<void>(::mkdir(cache.c_str(), 0700));
    return cache;
}

std::vector<std::string> candidates(const std::string& identifier) {
    const std::string cache = pathIn("XDG_CACHE_HOME");
    const std::string temporary = pathIn("TMPDIR");
    const std::string own = "/" + identifier;
    const std::string shared = own + "-" + std::to_string(::geteuid()) + "-program";
    std::vector<std::string> paths;
    for (const std::string& closed : {cache.empty() ? cacheOfHome() : cache, pathIn("XDG_RUNTIME_DIR")}) {
        if (!closed.empty()) {
            paths.push_back(closed + own);
        }
    }
    for (const std::string& open :
         {temporary.empty() ? std::string("/tmp") : temporary, std::string("/var/tmp"), std::string("/dev/shm")}) {
        paths.push_back(open + shared);
    }
    return paths;
}

// Looks at what was opened and not at its name, so that nobody can put something else in its place.
bool isUsable(int folder) {
    struct stat status {};
    struct statvfs system {};
    return ::fstat(folder, &status) == 0 && status.st_uid == ::geteuid() && (status.st_mode & 07777) == 0700 &&
           ::fstatvfs(folder, &system) == 0 && (system.f_flag & (ST_NOEXEC | ST_RDONLY)) == 0;
}

} // namespace

PrivateFolder findPrivateFolder(const std::string& identifier) {
    std::string tried;
    for (const std::string& path : candidates(identifier)) {
        const bool made = ::mkdir(path.c_str(), 0700) == 0;
        base::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (folder && isUsable(folder.get())) {
            return {std::move(folder), path};
        }
        if (made) {
            static_cast<void>(::rmdir(path.c_str()));
        }
        tried += (tried.empty() ? "" : ", ") + path;
    }
    throw Problem(
        "There is no folder to start the program from: none of these is this user's alone and allows programs "
        "to be started: " +
        tried);
}

void removeFolder(int parent, const std::string& name) {
    std::error_code ignored;
    std::filesystem::remove_all("/proc/self/fd/" + std::to_string(parent) + "/" + name, ignored);
}

} // namespace launcher
