#include "hdiutil/front/Extract.h"

#include "hdiutil/front/Extraction.h"
#include "hdiutil/front/Extractor.h"
#include "hdiutil/front/FileTree.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/ImagePaths.h"
#include "hdiutil/front/PasswordPrompt.h"
#include "hdiutil/front/VolumeName.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>

namespace hdi {
namespace {

namespace fs = std::filesystem;

// The folder to extract to, filled and under its name only at the end. Until then everything lies in a folder beside it
// that goes with the object.
class TargetFolder {
public:
    explicit TargetFolder(const std::string& folder) : folder_(fs::absolute(folder).lexically_normal().string()) {
        while (folder_.size() > 1 && folder_.back() == '/') {
            folder_.pop_back();
        }
        std::error_code error;
        const fs::file_status status = fs::symlink_status(folder_, error);
        if (fs::exists(status) && !fs::is_directory(status)) {
            throw AttachError(errorText(fs::is_symlink(status) ? EEXIST : ENOTDIR) + " (" + folder_ + ")");
        }
        if (fs::exists(status) && !fs::is_empty(folder_, error)) {
            throw AttachError(errorText(error ? error.value() : ENOTEMPTY) + " (" + folder_ + ")");
        }
        incomplete_ = folder_ + ".XXXXXX";
        if (mkdtemp(incomplete_.data()) == nullptr) {
            const int reason = errno;
            incomplete_.clear();
            throw AttachError(errorText(reason) + " (" + folder_ + ")");
        }
    }
    TargetFolder(const TargetFolder&) = delete;
    TargetFolder& operator=(const TargetFolder&) = delete;
    ~TargetFolder() {
        if (!incomplete_.empty()) {
            removeTree(incomplete_);
        }
    }

    const std::string& path() const { return incomplete_; }

    // An empty folder that is there already gives way.
    void commit() {
        if (rename(incomplete_.c_str(), folder_.c_str()) != 0) {
            throw AttachError(errorText(errno) + " (" + folder_ + ")");
        }
        incomplete_.clear();
    }

private:
    std::string folder_;
    std::string incomplete_;
};

// One volume takes the whole folder, several get folders of their own names in it.
void extractAll(const OpenedImage& opened, const std::string& folder, const std::atomic<bool>& stop) {
    std::set<std::string> names;
    for (const ImageSlot& slot : opened.slots) {
        if (!slot.volume) {
            continue;
        }
        std::string target = folder;
        if (opened.volumeCount() > 1) {
            const auto taken = [&names](const std::string& name) { return !names.insert(name).second; };
            target += "/" + firstFreeName(cleanVolumeName(slot.volume->name()), taken);
            if (mkdir(target.c_str(), 0700) != 0) {
                throw AttachError(errorText(errno));
            }
        }
        extractVolume(*slot.volume, target, stop);
    }
}

std::string extractOrThrow(const AttachOptions& options, const std::string& folder) {
    TargetFolder target(folder);
    const PreparedImage prepared = prepareImage(options);
    extractChecked(prepared, [&](const std::atomic<bool>& stop) { extractAll(prepared.opened, target.path(), stop); });
    if (prepared.opened.volumeCount() > 1 && chmod(target.path().c_str(), 0755) != 0) {
        throw AttachError(errorText(errno));
    }
    target.commit();
    return prepared.messages;
}

} // namespace

std::string extractImage(AttachOptions options, const std::string& folder) {
    requireImageFile("extract", options.imagePath);
    options.password = passwordFor("extract", options.imagePath, options.passwordFromInput);
    catchInterruptions();
    try {
        return extractOrThrow(options, folder);
    } catch (const AttachError& error) {
        throw FrontError("extract failed - " + error.reason());
    }
}

} // namespace hdi
