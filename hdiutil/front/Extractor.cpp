#include "hdiutil/front/Extractor.h"

#include "base/Descriptor.h"
#include "hdiutil/front/ExtractQueue.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <map>

namespace hdi {
namespace {

[[noreturn]] void failWithErrno(const std::string& name) {
    const int error = errno;
    throw AttachError(errorText(error) + (error == ENOSPC ? "" : " (" + name + ")"));
}

class TreeWriter {
public:
    TreeWriter(const Volume& volume, const std::atomic<bool>& stop, const ExtractLimits& limits)
        : volume_(volume), stop_(stop), limits_(limits), queue_(volume, stop, limits.threads) {}

    void writeAll(int root) {
        root_ = root;
        writeFolder(volume_.root(), root, "", 0);
        queue_.finish();
    }

private:
    void countEntry() {
        if (stop_) {
            throw AttachError("interrupted");
        }
        if (++entries_ > limits_.entries) {
            throw ImageError(ImageError::Kind::kUnsupported, "the volume has too many entries to be extracted");
        }
    }

    // Bounded by limits_.depth. The mode is set last: a folder without write permission could not be filled.
    void writeFolder(NodeId node, int fd, const std::string& path, std::size_t depth) { // NOLINT(misc-no-recursion)
        if (depth > limits_.depth) {
            throw ImageError(ImageError::Kind::kUnsupported, "folders lie too deep inside each other to be extracted");
        }
        for (const DirectoryEntry& entry : volume_.list(node)) {
            countEntry();
            writeEntry(entry, fd, path + entry.name, depth);
        }
        setModeAndTimes(fd, volume_.attributes(node));
    }

    void writeEntry(const DirectoryEntry& entry, int parent, const std::string& path, // NOLINT(misc-no-recursion)
                    std::size_t depth) {
        const Attributes attributes = volume_.attributes(entry.node);
        switch (attributes.kind) {
        case NodeKind::kFolder:
            return makeFolder(entry, parent, path, depth);
        case NodeKind::kSymlink:
            return makeLink(entry, parent, attributes);
        case NodeKind::kFile:
            return makeFile(entry, parent, path, attributes);
        }
    }

    void makeFolder(const DirectoryEntry& entry, int parent, const std::string& path, // NOLINT(misc-no-recursion)
                    std::size_t depth) {
        if (mkdirat(parent, entry.name.c_str(), 0700) != 0) {
            failWithErrno(entry.name);
        }
        const base::Descriptor fd(openat(parent, entry.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!fd) {
            failWithErrno(entry.name);
        }
        writeFolder(entry.node, fd.get(), path + "/", depth + 1);
    }

    void makeLink(const DirectoryEntry& entry, int parent, const Attributes& attributes) {
        const std::string target = volume_.linkTarget(entry.node);
        if (target.find('\0') != std::string::npos || symlinkat(target.c_str(), parent, entry.name.c_str()) != 0) {
            failWithErrno(entry.name);
        }
        const std::timespec times[2] = {attributes.modified, attributes.modified};
        (void)utimensat(parent, entry.name.c_str(), times, AT_SYMLINK_NOFOLLOW);
    }

    void makeFile(const DirectoryEntry& entry, int parent, const std::string& path, const Attributes& attributes) {
        const auto [first, isNew] = firstPaths_.try_emplace(attributes.links > 1 ? entry.node : 0, path);
        if (attributes.links > 1 && !isNew) {
            if (linkat(root_, first->second.c_str(), parent, entry.name.c_str(), 0) != 0) {
                failWithErrno(entry.name);
            }
            return;
        }
        auto file = std::make_shared<PendingFile>();
        file->fd.reset(openat(parent, entry.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file->fd) {
            failWithErrno(entry.name);
        }
        file->node = entry.node;
        file->attributes = attributes;
        queue_.add(file);
    }

    const Volume& volume_;
    const std::atomic<bool>& stop_;
    const ExtractLimits limits_;
    int root_ = -1;
    std::uint64_t entries_ = 0;
    std::map<NodeId, std::string> firstPaths_; // of files with several links, relative to the root
    ExtractQueue queue_;
};

} // namespace

void extractVolume(const Volume& volume, const std::string& folder, const std::atomic<bool>& stop,
                   const ExtractLimits& limits) {
    const base::Descriptor root(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!root) {
        failWithErrno(folder);
    }
    TreeWriter(volume, stop, limits).writeAll(root.get());
}

} // namespace hdi
