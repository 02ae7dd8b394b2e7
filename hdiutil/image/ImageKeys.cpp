#include "hdiutil/image/ImageKeys.h"

#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/Password.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

namespace hdi {

namespace {

// Behind the keys; what tells a right password from a wrong one.
constexpr std::string_view kMark{"CKIE\0", 5};
constexpr std::size_t kWrapBlock = 8;
constexpr std::uint32_t kIterations = 500'000; // as macOS takes today

// Bytes that are overwritten when they go.
template <std::size_t N>
struct Secret {
    std::array<std::byte, N> bytes{};

    Secret() = default;
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    ~Secret() { explicit_bzero(bytes.data(), N); }
};

using WrapKey = Secret<Cryptography::kWrapKey>;
using Slots = Secret<EncryptionHeader::kWrappedSlots>;

void fillRandom(std::span<std::byte> bytes) {
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw ImageError(ImageError::Kind::kIo, "the kernel gives no random numbers");
    }
}

void derive(const EncryptionHeader::WrappedKeys& wrapped, std::span<const std::byte> password, WrapKey& key) {
    cryptography().deriveKey(password, wrapped.salt, wrapped.iterations, key.bytes);
    wipeStack();
}

// AES key, HMAC key, mark, and padding that says in each byte how long it is.
std::optional<ImageKeys> keysIn(std::span<const std::byte> slots, std::size_t aesBytes) {
    const std::size_t length = aesBytes + ImageKeys::kHmac + kMark.size();
    const std::size_t padding = kWrapBlock - length % kWrapBlock;
    if (slots.size() != length + padding ||
        std::memcmp(slots.data() + length - kMark.size(), kMark.data(), kMark.size()) != 0 ||
        !std::all_of(slots.begin() + static_cast<std::ptrdiff_t>(length), slots.end(),
                     [padding](std::byte byte) { return byte == static_cast<std::byte>(padding); })) {
        return std::nullopt;
    }
    ImageKeys keys;
    keys.aesBytes = aesBytes;
    std::memcpy(keys.aes, slots.data(), aesBytes);
    std::memcpy(keys.hmac, slots.data() + aesBytes, ImageKeys::kHmac);
    return keys;
}

} // namespace

ImageKeys::~ImageKeys() {
    explicit_bzero(aes, sizeof aes);
    explicit_bzero(hmac, sizeof hmac);
}

ImageKeys unlockKeys(const EncryptionHeader& header, std::span<const std::byte> password) {
    for (const EncryptionHeader::WrappedKeys& wrapped : header.passwords) {
        WrapKey key;
        derive(wrapped, password, key);
        Slots slots;
        const auto used = std::span(slots.bytes).first(wrapped.keys.size());
        std::copy(wrapped.keys.begin(), wrapped.keys.end(), used.begin());
        cryptography().unwrap(key.bytes, wrapped.vector, used);
        if (std::optional<ImageKeys> keys = keysIn(used, header.aesBits / 8)) {
            return *keys;
        }
    }
    throw ImageError(ImageError::Kind::kWrongPassword, "wrong password");
}

ImageKeys newKeys(std::uint32_t aesBits) {
    ImageKeys keys;
    keys.aesBytes = aesBits / 8;
    fillRandom(std::span(keys.aes).first(keys.aesBytes));
    fillRandom(keys.hmac);
    return keys;
}

EncryptionHeader lockKeys(const ImageKeys& keys, std::span<const std::byte> password) {
    EncryptionHeader header;
    header.aesBits = static_cast<std::uint32_t>(keys.aesBytes * 8);
    fillRandom(header.identifier);
    EncryptionHeader::WrappedKeys wrapped;
    wrapped.iterations = kIterations;
    wrapped.salt.resize(ImageKeys::kHmac);
    fillRandom(wrapped.salt);
    fillRandom(wrapped.vector);
    const std::size_t length = keys.aesBytes + ImageKeys::kHmac + kMark.size();
    const std::size_t padding = kWrapBlock - length % kWrapBlock;
    Slots slots;
    const auto used = std::span(slots.bytes).first(length + padding);
    std::memcpy(used.data(), keys.aes, keys.aesBytes);
    std::memcpy(used.data() + keys.aesBytes, keys.hmac, ImageKeys::kHmac);
    std::memcpy(used.data() + length - kMark.size(), kMark.data(), kMark.size());
    std::fill(used.begin() + static_cast<std::ptrdiff_t>(length), used.end(), static_cast<std::byte>(padding));
    WrapKey key;
    derive(wrapped, password, key);
    cryptography().wrap(key.bytes, wrapped.vector, used);
    wrapped.keys.assign(used.begin(), used.end());
    header.passwords.push_back(std::move(wrapped));
    return header;
}

} // namespace hdi
