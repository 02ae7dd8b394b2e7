#include "hdiutil/image/FileSource.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace hdi {

namespace {

std::string reasonOf(int error) {
    return std::generic_category().message(error);
}

class FileSource final : public ByteSource {
public:
    explicit FileSource(const std::string& path)
        : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        if (!file_) {
            throw ImageError(ImageError::Kind::kIo, path_ + ": " + reasonOf(errno));
        }
        size_ = measure();
    }

    std::uint64_t size() const override { return size_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        const std::ptrdiff_t count = base::readAt(file_.get(), into, offset);
        if (count != static_cast<std::ptrdiff_t>(into.size())) {
            throw ImageError(ImageError::Kind::kIo,
                             path_ + ": " + (count < 0 ? reasonOf(errno) : std::string("the file has shrunk")));
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
    base::Descriptor file_;
    std::uint64_t size_ = 0;
};

} // namespace

ByteSourcePtr openFile(const std::string& path) {
    return std::make_shared<FileSource>(path);
}

} // namespace hdi
