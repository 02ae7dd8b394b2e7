#include "hdiutil/create/UdifParts.h"
#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/Licence.h"
#include "hdiutil/image/UdifPlist.h"

#include <string>

// Whole images. One byte says how the rest is to be understood: as a file; as the property list of one; or as a chunk
// table (behind its length in two bytes and the disk's in three) and the data that it describes, so that tables can
// change without a list around them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace hdi;

constexpr std::uint64_t kMaxRead = std::uint64_t{128} * 1024;

void readDisk(const ByteSource& disk) {
    std::vector<std::byte> piece(32768);
    const std::uint64_t length = std::min(disk.size(), kMaxRead);
    for (std::uint64_t at = 0; at < length; at += piece.size()) {
        const auto part = std::span(piece).first(std::min<std::uint64_t>(piece.size(), length - at));
        // A bad chunk does not keep the others from being read.
        fuzz::allowRefusal([&] { disk.read(at, part); });
    }
    const std::uint64_t last = std::min<std::uint64_t>(disk.size(), piece.size());
    fuzz::allowRefusal([&] { disk.read(disk.size() - last, std::span(piece).first(last)); });
}

void useImage(const ByteSourcePtr& file) {
    ReadOptions options;
    options.threads = 1;
    options.cacheBytes = 1024 * 1024;
    const auto image = openDiskImage(file, options);
    readDisk(*image->disk());
    fuzz::allowRefusal([&] { image->verifyDataFork(); });
    if (image->facts().diskBytes <= kMaxRead) {
        fuzz::allowRefusal([&] { image->verifyTables(nullptr); });
    }
}

std::vector<std::byte> imageAround(fuzz::Input& input) {
    const auto table = input.take(input.number(2));
    UdifTrailer trailer;
    trailer.sectorCount = input.number(3);
    const auto data = input.rest();
    const std::vector<std::vector<std::byte>> tables = {{table.begin(), table.end()}};
    const std::vector<std::string> names = {"table"};
    const auto plist = udifPlistBytes(tables, names);
    trailer.dataLength = data.size();
    trailer.plistOffset = data.size();
    trailer.plistLength = plist.size();
    trailer.dataChecksum = {UdifChecksum::kCrc32, 32, 0};
    trailer.masterChecksum = {UdifChecksum::kCrc32, 32, 0};
    std::vector<std::byte> image(data.begin(), data.end());
    image.insert(image.end(), plist.begin(), plist.end());
    const auto end = udifTrailerBytes(trailer);
    image.insert(image.end(), end.begin(), end.end());
    return image;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    switch (input.number(1) % 4) {
    case 0:
        fuzz::allowRefusal([&] { useImage(fuzz::sourceOf(input.rest())); });
        break;
    case 1:
        fuzz::allowRefusal([&] { licenceTexts(parseUdifPlist(input.rest())); });
        break;
    default:
        fuzz::allowRefusal([&] { useImage(fuzz::sourceOf(imageAround(input))); });
        break;
    }
    return 0;
}
