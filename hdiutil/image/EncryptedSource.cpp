#include "hdiutil/image/EncryptedSource.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace hdi {

namespace {

class EncryptedSource final : public ByteSource {
public:
    EncryptedSource(ByteSourcePtr file, const EncryptionHeader& header, const ImageKeys& keys)
        : file_(std::move(file)), offset_(header.dataOffset), size_(header.dataLength), block_(header.blockBytes),
          cipher_(cryptography().makeCipher(keys)) {}

    std::uint64_t size() const override { return size_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        const std::size_t head = std::min<std::size_t>(into.size(), (block_ - offset % block_) % block_);
        const std::size_t whole = (into.size() - head) / block_ * block_;
        readPart(offset, into.first(head));
        readWhole(offset + head, into.subspan(head, whole));
        readPart(offset + head + whole, into.subspan(head + whole));
    }

private:
    // In place, of blocks that are wanted from end to end.
    void readWhole(std::uint64_t offset, std::span<std::byte> into) const {
        if (into.empty()) {
            return;
        }
        file_->read(offset_ + offset, into);
        for (std::size_t done = 0; done < into.size(); done += block_) {
            cipher_->decrypt(static_cast<std::uint32_t>((offset + done) / block_), into.subspan(done, block_));
        }
    }

    // A part of one block.
    void readPart(std::uint64_t offset, std::span<std::byte> into) const {
        if (into.empty()) {
            return;
        }
        const std::uint64_t within = offset % block_;
        std::vector<std::byte> block(block_);
        readWhole(offset - within, block);
        std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(within), into.size(), into.begin());
    }

    const ByteSourcePtr file_;
    const std::uint64_t offset_;
    const std::uint64_t size_;
    const std::size_t block_;
    const std::unique_ptr<BlockCipher> cipher_;
};

} // namespace

ByteSourcePtr decryptedSource(ByteSourcePtr file, const EncryptionHeader& header, const ImageKeys& keys) {
    return std::make_shared<EncryptedSource>(std::move(file), header, keys);
}

} // namespace hdi
