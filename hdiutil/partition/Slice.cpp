#include "hdiutil/image/ImageError.h"
#include "hdiutil/partition/PartitionMap.h"

#include <utility>

namespace hdi {

namespace {

class Slice final : public ByteSource {
public:
    Slice(ByteSourcePtr whole, std::uint64_t offset, std::uint64_t length)
        : whole_(std::move(whole)), offset_(offset), length_(length) {
        if (offset_ > whole_->size() || length_ > whole_->size() - offset_) {
            throw ImageError(ImageError::Kind::kOutOfRange, "a partition reaches beyond the end of its disk");
        }
    }

    std::uint64_t size() const override { return length_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        whole_->read(offset_ + offset, into);
    }

private:
    ByteSourcePtr whole_;
    std::uint64_t offset_;
    std::uint64_t length_;
};

} // namespace

ByteSourcePtr slice(ByteSourcePtr disk, std::uint64_t offset, std::uint64_t length) {
    return std::make_shared<Slice>(std::move(disk), offset, length);
}

} // namespace hdi
