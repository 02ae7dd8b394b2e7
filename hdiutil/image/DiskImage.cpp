#include "hdiutil/image/DiskImage.h"

#include "hdiutil/image/EncryptedSource.h"
#include "hdiutil/image/EncryptionHeader.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Password.h"
#include "hdiutil/image/RawImage.h"
#include "hdiutil/image/SegmentedImage.h"
#include "hdiutil/image/SparseImage.h"
#include "hdiutil/image/UdifImage.h"

#include <array>
#include <string_view>
#include <utility>

namespace hdi {

namespace {

bool holds(const ByteSource& file, std::uint64_t offset, std::string_view signature) {
    std::array<char, 16> bytes{};
    const auto there = std::span(bytes).first(signature.size());
    if (file.size() < signature.size() || offset > file.size() - signature.size()) {
        return false;
    }
    file.read(offset, std::as_writable_bytes(there));
    return std::string_view(there.data(), there.size()) == signature;
}

// The image inside; only what it is stored in differs.
class UnlockedImage final : public DiskImage {
public:
    UnlockedImage(std::unique_ptr<DiskImage> inside, std::uint64_t fileBytes)
        : inside_(std::move(inside)), facts_(inside_->facts()) {
        facts_.isEncrypted = true;
        facts_.fileBytes = fileBytes;
    }

    ByteSourcePtr disk() const override { return inside_->disk(); }
    const ImageFacts& facts() const override { return facts_; }
    std::vector<std::string> licences() const override { return inside_->licences(); }
    bool verifyDataFork() const override { return inside_->verifyDataFork(); }
    void verifyTables(const std::function<void(double)>& progress) const override { inside_->verifyTables(progress); }

private:
    const std::unique_ptr<DiskImage> inside_;
    ImageFacts facts_;
};

std::unique_ptr<DiskImage> openEncryptedImage(const ByteSourcePtr& file, const ReadOptions& options) {
    if (!holds(*file, 0, "encrcdsa")) {
        throw ImageError(ImageError::Kind::kEncrypted, "encrypted images of the first version are not supported");
    }
    if (options.password == nullptr) {
        throw ImageError(ImageError::Kind::kEncrypted, "the image is encrypted; -stdinpass reads its password");
    }
    const EncryptionHeader header = readEncryptionHeader(*file);
    const ByteSourcePtr inside = decryptedSource(file, header, unlockKeys(header, options.password->bytes()));
    if (isEncrypted(*inside)) {
        throw ImageError(ImageError::Kind::kUnsupported, "images that are encrypted twice are not supported");
    }
    ReadOptions inner = options;
    inner.sums.reset(); // they are of the file around it
    return std::make_unique<UnlockedImage>(openDiskImage(inside, inner), file->size());
}

} // namespace

std::unique_ptr<DiskImage> DiskImage::open(const std::string& path, const ReadOptions& options) {
    if (isSparseBundle(path)) {
        return openSparseBundle(path);
    }
    const ByteSourcePtr file = openFile(path);
    const std::optional<UdifTrailer> trailer = isEncrypted(*file) ? std::nullopt : readUdifTrailer(*file);
    if (trailer && trailer->segmentCount > 1) {
        return openSegmentedImage(path, file, *trailer, options);
    }
    return openDiskImage(file, options);
}

bool needsPassword(const std::string& path) {
    return isEncrypted(*openFile(path));
}

std::unique_ptr<DiskImage> openDiskImage(const ByteSourcePtr& file, const ReadOptions& options) {
    if (isEncrypted(*file)) {
        return openEncryptedImage(file, options);
    }
    if (auto sparse = openSparseImage(file)) {
        return sparse;
    }
    if (auto udif = openUdifImage(file, options)) {
        return udif;
    }
    if (auto raw = openRawImage(file)) {
        return raw;
    }
    throw ImageError(ImageError::Kind::kNotRecognized, "image not recognized");
}

} // namespace hdi
