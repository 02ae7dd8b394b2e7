#include "hdiutil/create/RawWriter.h"

#include "hdiutil/create/OrderedWork.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace hdi {

namespace {

constexpr std::uint64_t kPiece = std::uint64_t{256} * 1024;

struct RawPiece {
    std::uint64_t length = 0;
    std::vector<std::byte> bytes; // empty for zeros
};

RawPiece readPiece(const ByteSource& disk, std::uint64_t offset) {
    RawPiece piece{std::min(kPiece, disk.size() - offset), {}};
    piece.bytes.resize(static_cast<std::size_t>(piece.length));
    disk.read(offset, piece.bytes);
    if (piece.bytes.front() == std::byte{0} &&
        std::memcmp(piece.bytes.data(), piece.bytes.data() + 1, piece.bytes.size() - 1) == 0) {
        piece.bytes.clear();
    }
    return piece;
}

} // namespace

void writeRaw(const ByteSource& disk, const std::string& path, const NewEncryption& encryption,
              const std::function<void(double)>& progress) {
    const std::unique_ptr<ImageOutput> output = newImageOutput(path, encryption);
    const auto count = static_cast<std::size_t>((disk.size() + kPiece - 1) / kPiece);
    OrderedWork<RawPiece> work(count, 0, [&](std::size_t i) { return readPiece(disk, i * kPiece); });
    for (std::size_t i = 0; i < count; ++i) {
        const RawPiece piece = work.take();
        if (piece.bytes.empty()) {
            output->appendZeros(piece.length);
        } else {
            output->append(piece.bytes);
        }
        progress(static_cast<double>(i + 1) / static_cast<double>(count));
    }
    output->commit();
}

} // namespace hdi
