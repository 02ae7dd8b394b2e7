#include "hdiutil/image/ImageError.h"
#include "hdiutil/volume/ApfsMetadata.h"
#include "hdiutil/volume/Numbers.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace hdi::apfs {

namespace {

// Threads: any number at once.
class CheckedPartition final : public ByteSource {
public:
    CheckedPartition(ByteSourcePtr partition, const Metadata& metadata)
        : partition_(std::move(partition)), objects_(metadata.objects), superblocks_(metadata.superblocks),
          isChecked_(objects_.size()) {}

    std::uint64_t size() const override { return partition_->size(); }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        const auto first = std::ranges::upper_bound(
            objects_, offset, {}, [](const Metadata::Object& object) { return object.offset + object.length; });
        for (auto object = first; object != objects_.end() && object->offset < offset + into.size(); ++object) {
            check(static_cast<std::size_t>(object - objects_.begin()));
        }
        partition_->read(offset, into);
        for (const Metadata::Superblock& superblock : superblocks_) {
            overlay(superblock, offset, into);
        }
    }

private:
    void check(std::size_t place) const {
        const std::lock_guard lock(mutex_);
        if (isChecked_[place]) {
            return;
        }
        std::vector<std::byte> object(objects_[place].length);
        partition_->read(objects_[place].offset, object);
        if (!isIntact(object)) {
            damaged("an APFS object does not match its checksum");
        }
        isChecked_[place] = true;
    }

    static void overlay(const Metadata::Superblock& superblock, std::uint64_t offset, std::span<std::byte> into) {
        const std::uint64_t begin = std::max(superblock.offset, offset);
        const std::uint64_t end = std::min(superblock.offset + superblock.bytes.size(), offset + into.size());
        if (begin < end) {
            std::memcpy(into.data() + (begin - offset), superblock.bytes.data() + (begin - superblock.offset),
                        static_cast<std::size_t>(end - begin));
        }
    }

    const ByteSourcePtr partition_;
    const std::vector<Metadata::Object> objects_;
    const std::vector<Metadata::Superblock> superblocks_;
    mutable std::mutex mutex_;
    mutable std::vector<bool> isChecked_;
};

} // namespace

ByteSourcePtr checkedPartition(const ByteSourcePtr& partition, const Metadata& metadata) {
    return std::make_shared<CheckedPartition>(partition, metadata);
}

} // namespace hdi::apfs
