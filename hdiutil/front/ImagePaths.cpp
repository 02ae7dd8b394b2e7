#include "hdiutil/front/ImagePaths.h"

#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/SparseImage.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace hdi {

void requireImageFile(const std::string& verb, const std::string& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0) {
        throw FrontError(verb + " failed - " + errorText(errno));
    }
    if (!S_ISREG(facts.st_mode) && !isSparseBundle(path)) {
        throw FrontError(verb + " failed - image not recognized");
    }
}

void requireFreePath(const std::string& verb, const std::string& path, bool replace) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (fs::exists(status) && (!replace || fs::is_directory(status))) {
        throw FrontError(verb + " failed - " + errorText(fs::is_directory(status) ? EISDIR : EEXIST));
    }
}

} // namespace hdi
