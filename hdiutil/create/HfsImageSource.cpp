#include "hdiutil/create/HfsImageSource.h"

#include "base/Descriptor.h"
#include "base/Files.h"
#include "hdiutil/image/ImageError.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace hdi {

namespace {

constexpr std::size_t kOpenFiles = 16; // threads read neighbouring files, large ones in parts

[[noreturn]] void failed(const std::string& path, const std::string& why) {
    throw ImageError(ImageError::Kind::kIo, path + ": " + why);
}

bool isSameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

} // namespace

class HfsImageSource::OpenFile {
public:
    OpenFile(std::uint32_t item, std::string path, const struct stat& expected)
        : item_(item), path_(std::move(path)), expected_(expected),
          descriptor_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)) {
        if (!descriptor_) {
            failed(path_, std::strerror(errno));
        }
    }

    std::uint32_t item() const { return item_; }

    void read(std::uint64_t offset, std::span<std::byte> into) const {
        const std::ptrdiff_t count = base::readAt(descriptor_.get(), into, offset);
        if (count < 0) {
            failed(path_, std::strerror(errno));
        }
        if (count != static_cast<std::ptrdiff_t>(into.size())) {
            failed(path_, "the file has become shorter while it was being stored");
        }
        checkUnchanged(); // after the bytes, so that no change before them goes unseen
    }

private:
    void checkUnchanged() const {
        struct stat now {};
        if (::fstat(descriptor_.get(), &now) != 0) {
            failed(path_, std::strerror(errno));
        }
        if (now.st_dev != expected_.st_dev || now.st_ino != expected_.st_ino || now.st_size != expected_.st_size ||
            !isSameTime(now.st_mtim, expected_.st_mtim)) {
            failed(path_, "the file has changed while it was being stored");
        }
    }

    std::uint32_t item_;
    std::string path_;
    struct stat expected_;
    base::Descriptor descriptor_;
};

void HfsImageSource::addBytes(std::uint64_t offset, std::vector<std::byte> bytes) {
    const std::uint64_t length = bytes.size();
    segments_.push_back({offset, length, 0, std::move(bytes)});
}

void HfsImageSource::addFile(std::uint64_t offset, std::uint32_t item, std::uint64_t length) {
    segments_.push_back({offset, length, item, {}});
}

void HfsImageSource::doRead(std::uint64_t offset, std::span<std::byte> into) const {
    std::ranges::fill(into, std::byte{0});
    const std::uint64_t end = offset + into.size();
    auto segment =
        std::ranges::upper_bound(segments_, offset, {}, [](const Segment& each) { return each.offset + each.length; });
    for (; segment != segments_.end() && segment->offset < end; ++segment) {
        const std::uint64_t from = std::max(offset, segment->offset);
        const std::uint64_t to = std::min(end, segment->offset + segment->length);
        readSegment(*segment, from - segment->offset,
                    into.subspan(static_cast<std::size_t>(from - offset), static_cast<std::size_t>(to - from)));
    }
}

void HfsImageSource::readSegment(const Segment& segment, std::uint64_t inside, std::span<std::byte> into) const {
    if (segment.bytes.empty()) {
        open(segment.item)->read(inside, into);
    } else {
        std::memcpy(into.data(), segment.bytes.data() + inside, into.size());
    }
}

std::shared_ptr<const HfsImageSource::OpenFile> HfsImageSource::open(std::uint32_t item) const {
    {
        const std::lock_guard lock(mutex_);
        const auto found = std::ranges::find(open_, item, [](const auto& file) { return file->item(); });
        if (found != open_.end()) {
            open_.splice(open_.begin(), open_, found);
            return open_.front();
        }
    }
    auto file = std::make_shared<const OpenFile>(item, source_->path(item), source_->items[item].status);
    const std::lock_guard lock(mutex_);
    open_.push_front(file);
    if (open_.size() > kOpenFiles) {
        open_.pop_back();
    }
    return file;
}

} // namespace hdi
