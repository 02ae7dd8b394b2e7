#include "hdiutil/image/FileSource.h"

#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace hdi {

namespace {

std::string reasonOf(int error) {
    return std::generic_category().message(error);
}

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (value_ >= 0) {
            ::close(value_);
        }
    }

    int get() const { return value_; }

private:
    int value_;
};

class FileSource final : public ByteSource {
public:
    explicit FileSource(const std::string& path)
        : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (file_.get() < 0) {
            throw ImageError(ImageError::Kind::kIo, path_ + ": " + reasonOf(errno));
        }
        size_ = measure();
    }

    std::uint64_t size() const override { return size_; }

    void read(std::uint64_t offset, std::span<std::byte> into) const override {
        if (offset > size_ || into.size() > size_ - offset) {
            throw ImageError(ImageError::Kind::kOutOfRange, path_ + ": read beyond the end of the file");
        }
        while (!into.empty()) {
            const ssize_t got = ::pread(file_.get(), into.data(), into.size(), static_cast<off_t>(offset));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                throw ImageError(ImageError::Kind::kIo,
                                 path_ + ": " + (got < 0 ? reasonOf(errno) : std::string("the file has shrunk")));
            }
            offset += static_cast<std::uint64_t>(got);
            into = into.subspan(static_cast<std::size_t>(got));
        }
    }

private:
    std::uint64_t measure() const {
        struct stat facts {};
        if (::fstat(file_.get(), &facts) != 0) {
            throw ImageError(ImageError::Kind::kIo, path_ + ": " + reasonOf(errno));
        }
        if (S_ISREG(facts.st_mode)) {
            return static_cast<std::uint64_t>(facts.st_size);
        }
        const off_t end = S_ISBLK(facts.st_mode) ? ::lseek(file_.get(), 0, SEEK_END) : -1;
        if (end < 0) {
            throw ImageError(ImageError::Kind::kIo, path_ + ": not a file");
        }
        return static_cast<std::uint64_t>(end);
    }

    std::string path_;
    Descriptor file_;
    std::uint64_t size_ = 0;
};

} // namespace

ByteSourcePtr openFile(const std::string& path) {
    return std::make_shared<FileSource>(path);
}

} // namespace hdi
