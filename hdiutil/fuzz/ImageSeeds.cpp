#include "hdiutil/create/ChunkEncoder.h"
#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/create/UdifParts.h"
#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/fuzz/FuzzInput.h"
#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/FileSource.h"
#include "hdiutil/image/ImageKeys.h"
#include "hdiutil/image/LzfseEncoder.h"
#include "hdiutil/image/Password.h"
#include "hdiutil/image/UdifPlist.h"
#include "hdiutil/image/UdifTrailer.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

// hdiutil_fuzz_seeds FOLDER IMAGE…: writes FOLDER/codec, FOLDER/container and FOLDER/partition, the inputs that the
// fuzzers start from: parts of the given images, and what our own writer makes.
namespace {

using namespace hdi;
using Bytes = std::vector<std::byte>;

Bytes bytesOf(std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    return {bytes.begin(), bytes.end()};
}

Bytes readAll(const ByteSource& source) {
    Bytes bytes(static_cast<std::size_t>(source.size()));
    source.read(0, bytes);
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes number(std::size_t value, std::size_t bytes) {
    Bytes out(bytes);
    for (std::size_t i = bytes; i > 0; --i, value >>= 8U) {
        out[i - 1] = static_cast<std::byte>(value);
    }
    return out;
}

class SeedFolder {
public:
    explicit SeedFolder(std::filesystem::path path) : path_(std::move(path)) {
        std::filesystem::create_directories(path_);
    }

    void add(const Bytes& seed) {
        std::ofstream file(path_ / ("seed-" + std::to_string(count_++)), std::ios::binary);
        file.write(reinterpret_cast<const char*>(seed.data()), static_cast<std::streamsize>(seed.size()));
    }

private:
    std::filesystem::path path_;
    int count_ = 0;
};

// Half text, half zeros, and a little noise.
Bytes sample(std::size_t size) {
    constexpr std::string_view kText = "the partition of the disk image holds a folder with folders; ";
    Bytes bytes(size);
    for (std::size_t i = 0; i < size / 2; ++i) {
        bytes[i] = static_cast<std::byte>(i % 97 == 0 ? i * 2654435761U >> 13U
                                                      : static_cast<std::size_t>(kText[i % kText.size()]));
    }
    return bytes;
}

void addPartitionSeeds(SeedFolder& seeds) {
    for (const Layout layout : {Layout::kNone, Layout::kGpt, Layout::kApm}) {
        const Bytes disk = readAll(*layOut(fuzz::sourceOf(sample(2048)), layout).disk);
        seeds.add(joined({number(0, 1), number(0, 2), disk}));
        if (layout == Layout::kGpt) {
            const auto cut = disk.end() - std::size_t{33} * 512;
            seeds.add(joined({number(8, 1), number(std::size_t{33} * 512, 2), Bytes(cut, disk.end())}));
        }
    }
    Bytes mbr(1024);
    mbr[446 + 4] = std::byte{0xaf};
    mbr[446 + 8] = mbr[446 + 12] = std::byte{1};
    mbr[462 + 4] = std::byte{0x05};
    mbr[462 + 8] = mbr[462 + 12] = std::byte{1};
    mbr[510] = mbr[1022] = std::byte{0x55};
    mbr[511] = mbr[1023] = std::byte{0xaa};
    mbr[512 + 446 + 4] = std::byte{0x83};
    mbr[512 + 446 + 12] = std::byte{1};
    seeds.add(joined({number(4, 1), number(0, 2), mbr}));
}

void addCodecSeeds(SeedFolder& seeds) {
    for (const std::size_t size : {16U, 400U, 5000U, 60000U}) {
        seeds.add(joined({number(3, 1), number(size - 1, 2), encodeLzfse(sample(size))}));
    }
    seeds.add(joined({number(3, 1), number(3, 2), bytesOf(std::string_view("bvx-\4\0\0\0diskbvx$", 16))}));
    seeds.add(joined({number(0, 1), number(8, 2),
                      bytesOf(std::string_view("\x83"
                                               "disk\0\3\x40\0\2",
                                               10))}));
    constexpr std::string_view kLzvn("\xe4"
                                     "disk\x08\x04\xa2\x13\0\x46z\x0f\x03\0\xf4\xf0\x01\x0e\x06\0\0\0\0\0\0\0",
                                     27);
    seeds.add(joined({number(1, 1), number(60, 2), bytesOf(kLzvn)}));
    seeds.add(joined({number(2, 1), number(0, 2),
                      bytesOf("{\\rtf1\\mac{\\fonttbl\\f0 A;}\\uc1 You \\b may\\b0\\par \\'a9\\u8364?\\{\\~}")}));
}

void addTableSeeds(SeedFolder& seeds) {
    for (const char* name : {"UDRO", "UDZO", "UDBZ", "ULFO", "ULMO"}) {
        const Bytes raw = sample(4096);
        const EncodedChunk chunk = encodeChunk(codecOf(name)->type, raw);
        UdifTable table{"", 0, 40, {UdifChecksum::kCrc32, 32, 0}, {}};
        table.runs.push_back({RunType::kZero, 0, 8, 0, 0});
        table.runs.push_back({chunk.type, 8, 8, 0, chunk.stored.size()});
        table.runs.push_back({RunType::kIgnored, 16, 8, 0, 0});
        table.runs.push_back({chunk.type, 24, 8, 0, chunk.stored.size()});
        table.runs.push_back({chunk.type, 32, 8, 0, chunk.stored.size()});
        const Bytes bytes = udifTableBytes(table, 0, 2048);
        seeds.add(joined({number(2, 1), number(bytes.size(), 2), bytes, number(40, 3), chunk.stored}));
    }
}

// Encrypted with keys of zeros, which one round of key derivation from "p" opens.
Bytes encryptedSample(std::uint32_t bits) {
    ImageKeys keys;
    keys.aesBytes = bits / 8;
    Password password;
    password.append(std::byte{'p'});
    EncryptionHeader header = lockKeys(keys, password.bytes());
    EncryptionHeader::WrappedKeys& wrapped = header.passwords.front();
    wrapped.iterations = 1;
    const std::size_t length = keys.aesBytes + ImageKeys::kHmac + 5;
    Bytes slots((length / 8 + 1) * 8, static_cast<std::byte>(8 - length % 8));
    std::fill_n(slots.begin(), length, std::byte{0});
    std::ranges::copy(bytesOf("CKIE"), slots.begin() + static_cast<std::ptrdiff_t>(length - 5));
    std::array<std::byte, Cryptography::kWrapKey> key{};
    cryptography().deriveKey(password.bytes(), wrapped.salt, 1, key);
    cryptography().wrap(key, wrapped.vector, slots);
    wrapped.keys = slots;
    header.dataOffset = 512;
    header.dataLength = 1200;
    return joined({encryptionHeaderBytes(header), sample(1536)});
}

Bytes sparseSample() {
    Bytes file(4096);
    std::ranges::copy(bytesOf("sprs"), file.begin());
    storeBig<std::uint32_t>(file, 4, 3);
    storeBig<std::uint32_t>(file, 8, 2);
    storeBig<std::uint32_t>(file, 12, 1);
    storeBig<std::uint32_t>(file, 16, 7);
    storeBig<std::uint32_t>(file, 64, 4);
    storeBig<std::uint32_t>(file, 68, 1);
    return joined({file, sample(2048)});
}

// Both parts of an image whose second holds the second of two chunks.
Bytes segmentsSample() {
    const Bytes raw = sample(1024);
    UdifTable table{"", 0, 4, {UdifChecksum::kCrc32, 32, 0}, {}};
    table.runs.push_back({RunType::kRaw, 0, 2, 0, 1024});
    table.runs.push_back({RunType::kRaw, 2, 2, 1024, 1024});
    const std::vector<Bytes> tables = {udifTableBytes(table, 0, 2)};
    const std::vector<std::string> names = {"table"};
    const Bytes plist = udifPlistBytes(tables, names);
    UdifTrailer trailer;
    trailer.dataLength = raw.size();
    trailer.plistOffset = raw.size();
    trailer.plistLength = plist.size();
    trailer.segmentCount = 2;
    trailer.sectorCount = 4;
    const auto first = udifTrailerBytes(trailer);
    trailer.plistLength = 0;
    trailer.segmentNumber = 2;
    trailer.dataBegin = raw.size();
    const auto second = udifTrailerBytes(trailer);
    return joined({number(3, 1), number(raw.size() + second.size(), 2), raw, Bytes(second.begin(), second.end()), raw,
                   plist, Bytes(first.begin(), first.end())});
}

void addStorageSeeds(SeedFolder& seeds) {
    seeds.add(joined({number(0, 1), encryptedSample(128)}));
    seeds.add(joined({number(0, 1), encryptedSample(256)}));
    seeds.add(joined({number(1, 1), sparseSample()}));
    for (const char* const size : {"<integer>2000</integer>", "<string>2000</string>"}) {
        const Bytes list = bytesOf("<plist version=\"1.0\"><dict><key>band-size</key><integer>1024</integer>"
                                   "<key>size</key>" +
                                   std::string(size) + "</dict></plist>");
        seeds.add(joined({number(2, 1), number(list.size(), 2), list, sample(1024)}));
    }
    seeds.add(segmentsSample());
}

void addImage(const ByteSource& file, SeedFolder& container, SeedFolder& codec) {
    const auto trailer = readUdifTrailer(file);
    if (file.size() <= 32768) {
        container.add(joined({number(0, 1), readAll(file)}));
    }
    if (!trailer) {
        return;
    }
    Bytes plist(static_cast<std::size_t>(trailer->plistLength));
    file.read(trailer->plistOffset, plist);
    container.add(joined({number(1, 1), plist}));
    const Resources resources = parseUdifPlist(plist);
    for (const Resource& table : resources.at("blkx")) {
        const UdifTable parsed = parseUdifTable(table.data, trailer->dataOffset, file.size(), trailer->sectorCount);
        for (const UdifRun& run : parsed.runs) {
            if (run.length < 4096 && (run.type == RunType::kLzfse || run.type == RunType::kAdc)) {
                Bytes stored(static_cast<std::size_t>(run.length));
                file.read(run.offset, stored);
                const std::size_t size = static_cast<std::size_t>(run.sectorCount) * 512;
                codec.add(joined({number(run.type == RunType::kAdc ? 0 : 3, 1), number(size - 1, 2), stored}));
            }
        }
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::cerr << "usage: hdiutil_fuzz_seeds FOLDER IMAGE...\n";
        return 1;
    }
    const std::filesystem::path folder = arguments[1];
    SeedFolder codec(folder / "codec");
    SeedFolder container(folder / "container");
    SeedFolder partition(folder / "partition");
    SeedFolder storage(folder / "storage");
    addCodecSeeds(codec);
    addTableSeeds(container);
    addPartitionSeeds(partition);
    addStorageSeeds(storage);
    for (int i = 2; i < count; ++i) {
        fuzz::allowRefusal([&] { addImage(*openFile(arguments[i]), container, codec); });
    }
    return 0;
}
