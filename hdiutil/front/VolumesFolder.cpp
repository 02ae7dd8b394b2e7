#include "hdiutil/front/VolumesFolder.h"

#include "base/VolumesFolder.h"
#include "hdiutil/front/FrontError.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace hdi {

VolumesFolder VolumesFolder::open() {
    const base::VolumesFolder choice = base::volumesFolder();
    if (mkdir(choice.path.c_str(), choice.mode) != 0 && errno != EEXIST) {
        throw FrontError("cannot create the volumes folder \"" + choice.path + "\" - " + errorText(errno));
    }
    if (choice.mustBePrivate && !base::isPrivateFolder(choice.path, geteuid())) {
        throw FrontError("the volumes folder \"" + choice.path + "\" is not a folder of yours with mode 0700");
    }
    return VolumesFolder(choice.path);
}

std::string VolumesFolder::realPath(const std::string& shown) const {
    constexpr std::string_view kPrefix = "/Volumes/";
    std::string trimmed = base::withoutTrailingSlashes(shown);
    if (std::string_view(trimmed).starts_with(kPrefix)) {
        return path_ + "/" + trimmed.substr(kPrefix.size());
    }
    return trimmed;
}

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder != nullptr && folder[0] == '/' ? base::withoutTrailingSlashes(folder) : std::string("/tmp");
}

} // namespace hdi
