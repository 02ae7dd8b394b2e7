#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/EncryptedSource.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/Password.h"
#include "hdiutil/image/SparseImage.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// Everything that stores an image in some other way than one file of chunks: encrypted, sparse, as a bundle of bands,
// in several files. One byte says which. Of a bundle, two bytes tell the length of the list before the first band; of
// several files, the length of the second before the first.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using namespace hdi;

constexpr std::uint32_t kMostRounds = 50; // of key derivation; more only takes longer

// A folder in memory, for what is found by its path.
class Scratch {
public:
    Scratch() : path_("/dev/shm/hdiutil-fuzz-" + std::to_string(::getpid())) {
        std::filesystem::create_directories(path_ + "/bundle/bands");
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { std::filesystem::remove_all(path_); }

    std::string write(const std::string& name, std::span<const std::byte> bytes) const {
        std::ofstream file(path_ + "/" + name, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return path_ + "/" + name;
    }
    std::string bundle() const { return path_ + "/bundle"; }

private:
    std::string path_;
};

const Scratch& scratch() {
    static const Scratch kScratch;
    return kScratch;
}

void readEnds(const ByteSource& disk) {
    std::vector<std::byte> piece(static_cast<std::size_t>(std::min<std::uint64_t>(disk.size(), 20000)));
    disk.read(0, piece);
    fuzz::allowRefusal([&] { disk.read(disk.size() - piece.size(), piece); });
    const auto odd = std::span(piece).first(std::min<std::size_t>(piece.size(), 700));
    fuzz::allowRefusal([&] { disk.read(std::min<std::uint64_t>(disk.size() - odd.size(), 300), odd); });
}

void useEncrypted(const ByteSourcePtr& file) {
    if (!isEncrypted(*file)) {
        return;
    }
    EncryptionHeader header = readEncryptionHeader(*file);
    ImageKeys keys;
    keys.aesBytes = header.aesBits / 8;
    readEnds(*decryptedSource(file, header, keys));
    for (EncryptionHeader::WrappedKeys& wrapped : header.passwords) {
        wrapped.iterations = std::min(wrapped.iterations, kMostRounds);
    }
    Password password;
    password.append(std::byte{'p'});
    keys = unlockKeys(header, password.bytes());
    readEnds(*decryptedSource(file, header, keys));
}

void useSparse(const ByteSourcePtr& file) {
    if (const auto image = openSparseImage(file)) {
        readEnds(*image->disk());
        image->verifyTables(nullptr);
    }
}

void useBundle(fuzz::Input& input) {
    const auto list = input.take(input.number(2));
    scratch().write("bundle/Info.plist", list);
    scratch().write("bundle/bands/0", input.rest());
    if (isSparseBundle(scratch().bundle())) {
        readEnds(*openSparseBundle(scratch().bundle())->disk());
    }
}

void useSegments(fuzz::Input& input) {
    const auto second = input.take(input.number(2));
    scratch().write("image.002.dmgpart", second);
    const auto image = DiskImage::open(scratch().write("image.dmg", input.rest()));
    readEnds(*image->disk());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::uint64_t kind = input.number(1) % 4;
    fuzz::allowRefusal([&] {
        switch (kind) {
        case 0:
            return useEncrypted(fuzz::sourceOf(input.rest()));
        case 1:
            return useSparse(fuzz::sourceOf(input.rest()));
        case 2:
            return useBundle(input);
        default:
            return useSegments(input);
        }
    });
    return 0;
}
