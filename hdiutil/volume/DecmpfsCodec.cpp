#include "hdiutil/volume/DecmpfsCodec.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Lzfse.h"
#include "hdiutil/image/Lzvn.h"
#include "hdiutil/volume/Numbers.h"

#include <libdeflate.h>

#include <memory>
#include <string>

namespace hdi {

namespace {

std::vector<std::byte> copyExactly(std::span<const std::byte> bytes, std::size_t size) {
    if (bytes.size() != size) {
        damaged("a stored block of a compressed file is not as long as it should be");
    }
    return {bytes.begin(), bytes.end()};
}

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};

std::vector<std::byte> unpackZlib(std::span<const std::byte> packed, std::size_t size) {
    if ((byteAt(packed, 0) & 0x0FU) == 0x0FU) { // zlib's own streams begin with a method of 8
        return copyExactly(packed.subspan(1), size);
    }
    thread_local const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
        libdeflate_alloc_decompressor());
    if (!decompressor) {
        throw std::bad_alloc();
    }
    std::vector<std::byte> out(size);
    std::size_t length = 0;
    const libdeflate_result result =
        libdeflate_zlib_decompress(decompressor.get(), packed.data(), packed.size(), out.data(), out.size(), &length);
    if (result != LIBDEFLATE_SUCCESS || length != size) {
        damaged("a block of a compressed file cannot be unpacked");
    }
    return out;
}

// A marker of one byte, which some writers leave out.
std::vector<std::byte> unpackPlain(std::span<const std::byte> packed, std::size_t size) {
    return copyExactly(packed.size() == size + 1 ? packed.subspan(1) : packed, size);
}

// What follows the stream's end mark is not looked at: macOS leaves some bytes there.
std::vector<std::byte> unpackLzvn(std::span<const std::byte> packed, std::size_t size) {
    if (byteAt(packed, 0) == 0x06) { // the end mark, which a block cannot begin with
        return copyExactly(packed.subspan(1), size);
    }
    std::vector<std::byte> out(size);
    BackReferences written(out);
    if (!decodeLzvn(packed, written, size)) {
        damaged("a block of a compressed file cannot be unpacked");
    }
    return out;
}

std::vector<std::byte> unpackLzfse(std::span<const std::byte> packed, std::size_t size) {
    if ((byteAt(packed, 0) & 0x0FU) == 0x0FU) { // streams begin with a letter, 0x62
        return copyExactly(packed.subspan(1), size);
    }
    std::vector<std::byte> out(size);
    if (!decodeLzfse(packed, out)) {
        damaged("a block of a compressed file cannot be unpacked");
    }
    return out;
}

} // namespace

std::vector<std::byte> unpackDecmpfs(std::uint32_t type, std::span<const std::byte> packed, std::size_t size) {
    if (size == 0) {
        return {};
    }
    if (packed.empty()) {
        damaged("a block of a compressed file is missing");
    }
    switch (type) {
    case 1:
        return copyExactly(packed, size);
    case 3:
    case 4:
        return unpackZlib(packed, size);
    case 7:
    case 8:
        return unpackLzvn(packed, size);
    case 9:
    case 10:
        return unpackPlain(packed, size);
    case 11:
    case 12:
        return unpackLzfse(packed, size);
    default:
        throw ImageError(ImageError::Kind::kUnsupported,
                         "a file is compressed in a way this program does not know (type " + std::to_string(type) +
                             ")");
    }
}

} // namespace hdi
