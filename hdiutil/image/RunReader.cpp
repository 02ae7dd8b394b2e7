#include "hdiutil/image/RunReader.h"

#include "hdiutil/image/Codec.h"
#include "hdiutil/image/ImageError.h"

#include <memory>

namespace hdi {

namespace {

// Longer chunks than this are rare; their memory is not kept.
constexpr std::size_t kKeptBytes = std::size_t{2} * 1024 * 1024;

// Memory for the stored bytes, not cleared before each use.
class Scratch {
public:
    std::span<std::byte> take(std::size_t size) {
        if (size > capacity_ || capacity_ > kKeptBytes) {
            bytes_.reset();
            bytes_.reset(new std::byte[size]);
            capacity_ = size;
        }
        return {bytes_.get(), size};
    }

private:
    std::unique_ptr<std::byte[]> bytes_;
    std::size_t capacity_ = 0;
};

} // namespace

void readCompressedRun(const ByteSource& file, const UdifRun& run, std::span<std::byte> into) {
    thread_local Scratch scratch;
    const auto stored = scratch.take(static_cast<std::size_t>(run.length));
    file.read(run.offset, stored);
    if (!decodeChunk(run.type, stored, into)) {
        throw ImageError(ImageError::Kind::kDamaged,
                         "the chunk at sector " + std::to_string(run.sector) + " of the image is damaged");
    }
}

} // namespace hdi
