#pragma once

#include <sys/types.h>

#include <string>

// Where /Volumes really lies on Linux. The application looks for volumes where the disk-image tool puts them, so both
// ask here.
namespace base {

struct VolumesFolder {
    std::string path;
    mode_t mode = 0700;        // to create it with
    bool mustBePrivate = true; // whoever else could put entries there would put applications before us
};

// For the values of QN_SYSTEM_ROOT and XDG_RUNTIME_DIR, null where they are not set: below the first when that is
// absolute, else below the second when that is absolute and private, else in /tmp. Pure but for lstat of the second.
VolumesFolder chooseVolumesFolder(const char* systemRoot, const char* runtimeFolder, uid_t user);

// The choice for this process's environment and effective user.
VolumesFolder volumesFolder();

// The folder in it where the disk-image tool notes what is attached; it is there only while something is.
inline constexpr const char* kAttachedStateFolder = ".hdiutil";

// A folder itself, no link to one, that belongs to `user` with mode 0700.
bool isPrivateFolder(const std::string& path, uid_t user);

// "/a" for "/a//"; the root stays.
std::string withoutTrailingSlashes(std::string path);

} // namespace base
