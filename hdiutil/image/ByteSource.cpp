#include "hdiutil/image/ByteSource.h"

#include "hdiutil/image/ImageError.h"

namespace hdi {

void ByteSource::read(std::uint64_t offset, std::span<std::byte> into) const {
    if (offset > size() || into.size() > size() - offset) {
        throw ImageError(ImageError::Kind::kOutOfRange, "a read beyond the end");
    }
    doRead(offset, into);
}

} // namespace hdi
