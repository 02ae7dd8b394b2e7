#include "hdiutil/create/NewFile.h"

#include "base/Files.h"
#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace hdi {

namespace {

mode_t creationMask() {
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

std::string folderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// By which a file without a name can be given one.
std::string openedPath(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace

NewFile::NewFile(std::string path) : path_(std::move(path)) {
    file_.reset(::open(folderOf(path_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (file_ && ::access(openedPath(file_.get()).c_str(), F_OK) == 0) {
        return;
    }
    temporary_ = path_ + ".XXXXXX";
    file_.reset(::mkostemp(temporary_.data(), O_CLOEXEC));
    if (!file_) {
        fail(errno);
    }
}

NewFile::~NewFile() {
    if (file_ && !temporary_.empty()) {
        ::unlink(temporary_.c_str());
    }
}

void NewFile::append(std::span<const std::byte> bytes) {
    if (!base::writeAll(file_.get(), bytes)) {
        fail(errno);
    }
    size_ += bytes.size();
}

void NewFile::appendHole(std::uint64_t length) {
    size_ += length;
    if (::ftruncate(file_.get(), static_cast<off_t>(size_)) != 0 ||
        ::lseek(file_.get(), static_cast<off_t>(size_), SEEK_SET) < 0) {
        fail(errno);
    }
}

void NewFile::overwriteBeginning(std::span<const std::byte> bytes) {
    if (!base::writeAllAt(file_.get(), bytes, 0)) {
        fail(errno);
    }
}

void NewFile::commit() {
    if (::fchmod(file_.get(), 0666 & ~creationMask()) != 0) {
        fail(errno);
    }
    giveName();
    // Some file systems report only now that a write has failed.
    if (!file_.close()) {
        fail(errno);
    }
}

// A link never replaces anything; what is to be replaced takes another name and a renaming.
void NewFile::giveName() {
    const std::string opened = openedPath(file_.get());
    const auto link = [&opened](const std::string& name) {
        return ::linkat(AT_FDCWD, opened.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW);
    };
    if (temporary_.empty() && link(path_) == 0) {
        return;
    }
    for (unsigned number = 0; temporary_.empty(); ++number) {
        const std::string name = path_ + "." + std::to_string(::getpid()) + "-" + std::to_string(number);
        if (link(name) == 0) {
            temporary_ = name;
        } else if (errno != EEXIST) {
            fail(errno);
        }
    }
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        fail(errno);
    }
}

void NewFile::fail(int error) const {
    throw ImageError(ImageError::Kind::kIo, path_ + ": " + std::generic_category().message(error));
}

} // namespace hdi
