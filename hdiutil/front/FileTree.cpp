#include "hdiutil/front/FileTree.h"

#include "base/Descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

namespace hdi {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

// The names are collected first: removing while reading may leave entries out on some file systems.
std::vector<std::string> namesIn(int folder) {
    std::vector<std::string> names;
    base::Descriptor copy(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, CloseDirectory> directory(copy ? fdopendir(copy.get()) : nullptr);
    if (!directory) {
        return names;
    }
    copy.release();
    while (const dirent* entry = readdir(directory.get())) { // NOLINT(concurrency-mt-unsafe): a stream of our own
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    return names;
}

// Opened without permission to read, made ours to read and write, then opened to be read.
base::Descriptor openWritable(int parent, const char* name) {
    base::Descriptor place(openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!place) {
        return {};
    }
    const std::string path = "/proc/self/fd/" + std::to_string(place.get());
    struct stat facts {};
    if (fstat(place.get(), &facts) == 0 && (facts.st_mode & S_IRWXU) != S_IRWXU) {
        chmod(path.c_str(), S_IRWXU);
    }
    return base::Descriptor(openat(place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool removeEntry(int parent, const char* name) { // NOLINT(misc-no-recursion): as deep as the folders we made
    if (unlinkat(parent, name, 0) == 0 || errno == ENOENT) {
        return true;
    }
    if (errno != EISDIR && errno != EPERM) {
        return false;
    }
    const base::Descriptor folder = openWritable(parent, name);
    if (!folder) {
        return false;
    }
    bool removed = true;
    for (const std::string& entry : namesIn(folder.get())) {
        removed = removeEntry(folder.get(), entry.c_str()) && removed;
    }
    return removed && (unlinkat(parent, name, AT_REMOVEDIR) == 0 || errno == ENOENT);
}

} // namespace

bool removeTree(const std::string& path) {
    return removeEntry(AT_FDCWD, path.c_str());
}

} // namespace hdi
