#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/volume/Decmpfs.h"

#include <cstdlib>

// Compressed files. The input is the attribute, header and all, for the types that keep the contents there; for the
// others its 16 bytes and the resource fork.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void expectSize(std::size_t size, std::uint64_t expected) {
    if (size != expected) {
        std::abort();
    }
}

void readBlock(const hdi::DecmpfsHeader& header, const hdi::ByteSource& fork, std::uint64_t block) {
    hdi::fuzz::allowRefusal([&] {
        const std::uint64_t rest = header.size - block * hdi::kDecmpfsBlockBytes;
        expectSize(hdi::unpackBlock(header, fork, block).size(),
                   std::min<std::uint64_t>(rest, hdi::kDecmpfsBlockBytes));
    });
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace hdi;
    const auto input = std::as_bytes(std::span(data, size));
    const auto header = parseDecmpfsHeader(input);
    if (!header) {
        return 0;
    }
    const auto packed = input.subspan(kDecmpfsHeaderBytes);
    if (!isInResourceFork(header->type)) {
        fuzz::allowRefusal([&] { expectSize(unpackInline(*header, packed).size(), header->size); });
        return 0;
    }
    const ByteSourcePtr fork = fuzz::sourceOf(packed);
    readBlock(*header, *fork, 0);
    readBlock(*header, *fork, 1);
    readBlock(*header, *fork, header->size / kDecmpfsBlockBytes);
    return 0;
}
