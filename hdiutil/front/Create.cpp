#include "hdiutil/front/Create.h"

#include "base/Files.h"
#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/create/HfsVolumeWriter.h"
#include "hdiutil/create/LicenceResources.h"
#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImagePaths.h"
#include "hdiutil/front/PasswordPrompt.h"
#include "hdiutil/front/Progress.h"
#include "hdiutil/front/VolumeName.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/HfsNames.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

namespace hdi {
namespace {

namespace fs = std::filesystem;

void requireFolder(const std::string& folder) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (!fs::is_directory(status)) {
        const int reason = fs::exists(status) ? ENOTDIR : ENOENT;
        throw FrontError("create failed - " + errorText(reason) + " (" + folder + ")");
    }
}

// Looked at before anything is made of the folder.
std::string readLicence(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    const std::optional<std::string> licence = base::readSmallFile(path);
    if (!licence) {
        throw FrontError("create failed - " + errorText(errno) + " (" + path + ")");
    }
    try {
        licenceResources(*licence);
    } catch (const ImageError& error) {
        throw FrontError(std::string("create failed - ") + error.what() + " (" + path + ")");
    }
    return *licence;
}

// What attach would show it as is what it is called.
void requireMountableName(const std::string& name) {
    std::string shown = name;
    std::replace(shown.begin(), shown.end(), '/', ':');
    if (!name.empty() && hfs::isUtf8(name) && cleanVolumeName(name) != shown) {
        throw FrontError("create failed - no volume can be mounted under the name \"" + name +
                         "\": blanks at its ends and control characters are not kept");
    }
}

} // namespace

std::string createImage(const CreateOptions& options, const std::string& path, bool passwordFromInput) {
    requireMountableName(options.volumeName);
    if (!options.sourceFolder.empty()) {
        requireFolder(options.sourceFolder);
    }
    requireFreePath("create", path, options.replace);
    WriteOptions writing;
    if (options.encryptionBits != 0) {
        writing.encryption = {options.encryptionBits, newPassword("create", passwordFromInput)};
    }
    const std::string licence = readLicence(options.licencePath);
    Progress progress("Creating");
    try {
        const HfsKind kind = options.fileSystem == "HFSX" ? HfsKind::kX : HfsKind::kPlus;
        const NewDisk disk = layOut(createHfsPlus(options.sourceFolder, options.volumeName, kind, options.size),
                                    diskLayout(options.layout).value());
        writing.format = options.format;
        writing.licence = licence;
        writing.progress = [&progress](double fraction) { progress.show(fraction); };
        writeUdif(*disk.disk, disk.ranges, path, writing);
    } catch (const ImageError& error) {
        throw FrontError(std::string("create failed - ") + error.what());
    }
    return "created: " + fs::absolute(path).lexically_normal().string() + "\n";
}

} // namespace hdi
