#pragma once

#include <string>
#include <string_view>

namespace hdi {

// Where /Volumes really lies for this user, see base/VolumesFolder.h.
class VolumesFolder {
public:
    // Chooses, creates what is missing and checks that nobody else could put entries there. Throws FrontError.
    static VolumesFolder open();
    explicit VolumesFolder(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }
    // /Volumes/NAME, which is what users and the application see.
    static std::string shownPath(const std::string& name) { return "/Volumes/" + name; }
    // The real path for a name, for a shown path, or for any other path, which stays as it is.
    std::string realPath(const std::string& shown) const;

private:
    std::string path_;
};

// The folder for extracted volumes: $TMPDIR when it is absolute, else /tmp.
std::string temporaryFolder();

} // namespace hdi
