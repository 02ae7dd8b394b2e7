#include "tools/qn-portal/common/OutputFile.h"

#include "base/Files.h"

#include <fcntl.h>
#include <stdlib.h> // mkostemp
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace portal {

namespace {

bool isRegularOrMissing(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) != 0 || S_ISREG(facts.st_mode);
}

} // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
    if (isRegularOrMissing(path_)) {
        unfinished_ = path_ + ".XXXXXX";
        file_.reset(::mkostemp(unfinished_.data(), O_CLOEXEC));
    } else {
        file_.reset(::open(path_.c_str(), O_WRONLY | O_CLOEXEC));
    }
    if (!file_) {
        const int error = errno;
        unfinished_.clear();
        fail(error);
    }
}

OutputFile::~OutputFile() {
    if (!unfinished_.empty()) {
        ::unlink(unfinished_.c_str());
    }
}

void OutputFile::write(std::string_view text) {
    if (!base::writeAll(file_.get(), text)) {
        fail(errno);
    }
}

void OutputFile::publish() {
    if (unfinished_.empty()) {
        return;
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    constexpr mode_t kMode = 0666;
    if (::fchmod(file_.get(), kMode & ~mask) != 0 || ::fsync(file_.get()) != 0 ||
        std::rename(unfinished_.c_str(), path_.c_str()) != 0) {
        fail(errno);
    }
    unfinished_.clear();
}

void OutputFile::fail(int error) const {
    throw std::runtime_error(path_ + " cannot be written: " + std::strerror(error));
}

} // namespace portal
