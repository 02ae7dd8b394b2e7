#include "hdiutil/image/EncryptionHeader.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <string_view>

namespace hdi {

namespace {

constexpr std::string_view kSignature = "encrcdsa";
constexpr std::string_view kFirstVersion = "cdsaencr";

// Numbers of Apple's Common Security Services Manager.
constexpr std::uint32_t kAes = 0x80000001;
constexpr std::uint32_t kPbkdf2 = 103;
constexpr std::uint32_t kTripleDes = 17;
constexpr std::uint32_t kPkcs7 = 7;
constexpr std::uint32_t kCbcPadded = 6;
constexpr std::uint32_t kCbc = 5;
constexpr std::uint32_t kHmacSha1 = 91;

constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kPasswordKey = 1; // other kinds are opened with certificates
constexpr std::uint32_t kHmacBits = 160;
constexpr std::uint32_t kWrapBits = 192;
constexpr std::uint32_t kAesBlock = 16;

constexpr std::size_t kFixed = 76; // bytes before the list of keys
constexpr std::size_t kPointer = 20;
constexpr std::uint32_t kMostKeys = 64;
constexpr std::size_t kKeyRecord = 168; // as far as it is used
constexpr std::uint64_t kKeyRecordLength = 616;
constexpr std::size_t kSaltBytes = 32;

constexpr std::uint32_t kMostBlockBytes = 1024 * 1024;
constexpr std::uint32_t kMostIterations = 20'000'000; // some seconds; macOS takes the tenth of one

bool holds(const ByteSource& file, std::uint64_t offset, std::string_view signature) {
    std::array<char, 8> bytes{};
    if (file.size() < signature.size() || offset > file.size() - signature.size()) {
        return false;
    }
    file.read(offset, std::as_writable_bytes(std::span(bytes)));
    return std::string_view(bytes.data(), bytes.size()) == signature;
}

void requireKnown(bool known) {
    if (!known) {
        throw ImageError(ImageError::Kind::kUnsupported, "the image is encrypted in a way that is not known");
    }
}

void requireSound(bool sound) {
    if (!sound) {
        damaged("the header of the encrypted image is damaged");
    }
}

using Wrapped = EncryptionHeader::WrappedKeys;

Wrapped parseKeys(std::span<const std::byte> bytes) {
    const auto number = [bytes](std::size_t offset) { return loadBig<std::uint32_t>(bytes, offset); };
    requireKnown(number(0) == kPbkdf2 && number(84) == kWrapBits && number(88) == kTripleDes && number(92) == kPkcs7 &&
                 number(96) == kCbcPadded);
    Wrapped keys;
    keys.iterations = number(8);
    requireSound(keys.iterations > 0 && keys.iterations <= kMostIterations);
    const std::uint32_t saltLength = number(12);
    const std::uint32_t keysLength = number(100);
    requireSound(saltLength <= kSaltBytes && number(48) == keys.vector.size());
    requireSound(keysLength % keys.vector.size() == 0 && keysLength > 0 &&
                 keysLength <= EncryptionHeader::kWrappedSlots);
    const auto salt = bytes.subspan(16, saltLength);
    keys.salt.assign(salt.begin(), salt.end());
    std::copy_n(bytes.begin() + 52, keys.vector.size(), keys.vector.begin());
    const auto wrapped = bytes.subspan(104, keysLength);
    keys.keys.assign(wrapped.begin(), wrapped.end());
    return keys;
}

std::vector<Wrapped> readKeys(const ByteSource& file, std::uint32_t count) {
    requireSound(count > 0 && count <= kMostKeys && kFixed + count * kPointer <= file.size());
    std::vector<Wrapped> passwords;
    std::vector<std::byte> pointers(count * kPointer);
    file.read(kFixed, pointers);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (loadBig<std::uint32_t>(pointers, i * kPointer) != kPasswordKey) {
            continue;
        }
        const auto offset = loadBig<std::uint64_t>(pointers, i * kPointer + 4);
        requireSound(file.size() >= kKeyRecord && offset <= file.size() - kKeyRecord);
        std::array<std::byte, kKeyRecord> record{};
        file.read(offset, record);
        passwords.push_back(parseKeys(record));
    }
    if (passwords.empty()) {
        throw ImageError(ImageError::Kind::kUnsupported, "the image is encrypted without a password");
    }
    return passwords;
}

// All blocks, the last one too, stand whole in the file.
void requireRoom(const EncryptionHeader& header, std::uint64_t fileSize) {
    requireSound(header.blockBytes >= kAesBlock && header.blockBytes % kAesBlock == 0 &&
                 header.blockBytes <= kMostBlockBytes);
    requireSound(header.dataOffset <= fileSize && header.dataLength <= fileSize - header.dataOffset);
    const std::uint64_t blocks = (header.dataLength + header.blockBytes - 1) / header.blockBytes;
    requireSound(blocks <= UINT32_MAX && blocks * header.blockBytes <= fileSize - header.dataOffset);
}

} // namespace

EncryptionHeader readEncryptionHeader(const ByteSource& file) {
    requireSound(file.size() >= kFixed);
    std::array<std::byte, kFixed> bytes{};
    file.read(0, bytes);
    const auto number = [&bytes](std::size_t offset) { return loadBig<std::uint32_t>(bytes, offset); };
    EncryptionHeader header;
    header.aesBits = number(24);
    requireKnown(number(8) == kVersion && number(12) == kAesBlock && number(16) == kCbc && number(20) == kAes &&
                 (header.aesBits == 128 || header.aesBits == 256) && number(28) == kHmacSha1 &&
                 number(32) == kHmacBits);
    std::copy_n(bytes.begin() + 36, header.identifier.size(), header.identifier.begin());
    header.blockBytes = number(52);
    header.dataLength = loadBig<std::uint64_t>(bytes, 56);
    header.dataOffset = loadBig<std::uint64_t>(bytes, 64);
    requireRoom(header, file.size());
    header.passwords = readKeys(file, number(72));
    return header;
}

std::vector<std::byte> encryptionHeaderBytes(const EncryptionHeader& header) {
    std::vector<std::byte> bytes(static_cast<std::size_t>(header.dataOffset));
    const std::span<std::byte> all(bytes);
    const Wrapped& keys = header.passwords.front();
    std::copy_n(std::as_bytes(std::span(kSignature)).begin(), kSignature.size(), bytes.begin());
    const std::size_t record = kFixed + kPointer;
    const std::pair<std::size_t, std::uint32_t> numbers[] = {
        {8, kVersion},
        {12, kAesBlock},
        {16, kCbc},
        {20, kAes},
        {24, header.aesBits},
        {28, kHmacSha1},
        {32, kHmacBits},
        {52, header.blockBytes},
        {72, 1}, // keys
        {kFixed, kPasswordKey},
        {record, kPbkdf2},
        {record + 8, keys.iterations},
        {record + 12, static_cast<std::uint32_t>(keys.salt.size())},
        {record + 48, static_cast<std::uint32_t>(keys.vector.size())},
        {record + 84, kWrapBits},
        {record + 88, kTripleDes},
        {record + 92, kPkcs7},
        {record + 96, kCbcPadded},
        {record + 100, static_cast<std::uint32_t>(keys.keys.size())},
    };
    for (const auto& [offset, value] : numbers) {
        storeBig(all, offset, value);
    }
    std::copy(header.identifier.begin(), header.identifier.end(), bytes.begin() + 36);
    storeBig(all, 56, header.dataLength);
    storeBig(all, 64, header.dataOffset);
    storeBig(all, kFixed + 4, std::uint64_t{record});
    storeBig(all, kFixed + 12, kKeyRecordLength);
    std::copy(keys.salt.begin(), keys.salt.end(), all.subspan(record + 16).begin());
    std::copy(keys.vector.begin(), keys.vector.end(), all.subspan(record + 52).begin());
    std::copy(keys.keys.begin(), keys.keys.end(), all.subspan(record + 104).begin());
    return bytes;
}

// The first version has its header at the file's end, the second at its beginning.
bool isEncrypted(const ByteSource& file) {
    return holds(file, 0, kSignature) || holds(file, 0, kFirstVersion) ||
           (file.size() >= kFirstVersion.size() && holds(file, file.size() - kFirstVersion.size(), kFirstVersion));
}

} // namespace hdi
