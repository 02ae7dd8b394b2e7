#include "hdiutil/image/DiskImage.h"

#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/RawImage.h"
#include "hdiutil/image/UdifImage.h"

#include <array>
#include <string_view>

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

// The first kind of encryption has its header at the file's end, the second at its beginning.
bool isEncrypted(const ByteSource& file) {
    return holds(file, 0, "encrcdsa") || holds(file, 0, "cdsaencr") ||
           (file.size() >= 8 && holds(file, file.size() - 8, "cdsaencr"));
}

bool isSparse(const ByteSource& file) {
    return holds(file, 0, "sprs");
}

} // namespace

std::unique_ptr<DiskImage> DiskImage::open(const std::string& path, const ReadOptions& options) {
    return openDiskImage(openFile(path), options);
}

std::unique_ptr<DiskImage> openDiskImage(const ByteSourcePtr& file, const ReadOptions& options) {
    if (isEncrypted(*file)) {
        throw ImageError(ImageError::Kind::kEncrypted, "encrypted images are not supported");
    }
    if (isSparse(*file)) {
        throw ImageError(ImageError::Kind::kUnsupported, "sparse images are not supported");
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
