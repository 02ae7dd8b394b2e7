#include "hdiutil/create/NewFile.h"

#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

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
    descriptor_ = ::open(folderOf(path_).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (descriptor_ >= 0 && ::access(openedPath(descriptor_).c_str(), F_OK) == 0) {
        return;
    }
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    temporary_ = path_ + ".XXXXXX";
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        fail(errno);
    }
}

NewFile::~NewFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        if (!temporary_.empty()) {
            ::unlink(temporary_.c_str());
        }
    }
}

void NewFile::append(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            fail(errno);
        }
        size_ += static_cast<std::uint64_t>(written);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

void NewFile::commit() {
    if (::fchmod(descriptor_, 0666 & ~creationMask()) != 0) {
        fail(errno);
    }
    giveName();
    // Some file systems report only now that a write has failed.
    if (::close(std::exchange(descriptor_, -1)) != 0) {
        fail(errno);
    }
}

// A link never replaces anything; what is to be replaced takes another name and a renaming.
void NewFile::giveName() {
    const std::string opened = openedPath(descriptor_);
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
