#include "hdiutil/create/ImageOutput.h"

#include "hdiutil/create/NewFile.h"
#include "hdiutil/image/ImageKeys.h"

#include <algorithm>
#include <vector>

namespace hdi {

namespace {

class PlainOutput final : public ImageOutput {
public:
    explicit PlainOutput(const std::string& path) : file_(path) {}

    void append(std::span<const std::byte> bytes) override { file_.append(bytes); }
    void appendZeros(std::uint64_t count) override { file_.appendHole(count); }
    std::uint64_t size() const override { return file_.size(); }
    void commit() override { file_.commit(); }

private:
    NewFile file_;
};

// Collects blocks and encrypts them. What stands before them is written at the end, when their length is known.
class EncryptedOutput final : public ImageOutput {
public:
    EncryptedOutput(const std::string& path, const NewEncryption& encryption) : file_(path) {
        const ImageKeys keys = newKeys(encryption.aesBits);
        header_ = lockKeys(keys, encryption.password->bytes());
        cipher_ = cryptography().makeCipher(keys);
        file_.append(std::vector<std::byte>(static_cast<std::size_t>(header_.dataOffset)));
        waiting_.reserve(kCollected);
    }

    void append(std::span<const std::byte> bytes) override {
        header_.dataLength += bytes.size();
        while (!bytes.empty()) {
            const auto piece = bytes.first(std::min(bytes.size(), kCollected - waiting_.size()));
            waiting_.insert(waiting_.end(), piece.begin(), piece.end());
            bytes = bytes.subspan(piece.size());
            if (waiting_.size() == kCollected) {
                writeWaiting();
            }
        }
    }

    void appendZeros(std::uint64_t count) override {
        const std::vector<std::byte> zeros(static_cast<std::size_t>(std::min<std::uint64_t>(count, kCollected)));
        for (std::uint64_t done = 0; done < count; done += zeros.size()) {
            append(
                std::span(zeros).first(static_cast<std::size_t>(std::min<std::uint64_t>(zeros.size(), count - done))));
        }
    }

    std::uint64_t size() const override { return header_.dataLength; }

    void commit() override {
        const std::size_t block = header_.blockBytes;
        waiting_.resize((waiting_.size() + block - 1) / block * block);
        writeWaiting();
        file_.overwriteBeginning(encryptionHeaderBytes(header_));
        file_.commit();
    }

private:
    static constexpr std::size_t kCollected = std::size_t{256} * 1024; // a multiple of a block

    void writeWaiting() {
        const std::span<std::byte> all(waiting_);
        for (std::size_t done = 0; done < all.size(); done += header_.blockBytes) {
            cipher_->encrypt(nextBlock_++, all.subspan(done, header_.blockBytes));
        }
        file_.append(all);
        waiting_.clear();
    }

    NewFile file_;
    EncryptionHeader header_;
    std::unique_ptr<BlockCipher> cipher_;
    std::vector<std::byte> waiting_;
    std::uint32_t nextBlock_ = 0;
};

} // namespace

std::unique_ptr<ImageOutput> newImageOutput(const std::string& path, const NewEncryption& encryption) {
    if (encryption.password) {
        return std::make_unique<EncryptedOutput>(path, encryption);
    }
    return std::make_unique<PlainOutput>(path);
}

} // namespace hdi
