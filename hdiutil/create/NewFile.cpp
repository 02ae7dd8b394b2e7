#include "hdiutil/create/NewFile.h"

#include "hdiutil/image/ImageError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace hdi {

namespace {

mode_t creationMask() {
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}

} // namespace

NewFile::NewFile(std::string path) : path_(std::move(path)), temporary_(path_ + ".XXXXXX") {
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        fail(errno);
    }
}

NewFile::~NewFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
        ::unlink(temporary_.c_str());
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
    if (::fchmod(descriptor_, 0666 & ~creationMask()) != 0 || std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        fail(errno);
    }
    // Some file systems report only now that a write has failed.
    if (::close(std::exchange(descriptor_, -1)) != 0) {
        fail(errno);
    }
}

void NewFile::fail(int error) const {
    throw ImageError(ImageError::Kind::kIo, path_ + ": " + std::generic_category().message(error));
}

} // namespace hdi
