#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace hdi {

// The keys of an encrypted image. Overwritten when they go.
struct ImageKeys {
    static constexpr std::size_t kMostAes = 32;
    static constexpr std::size_t kHmac = 20;

    ImageKeys() = default;
    ImageKeys(const ImageKeys&) = default;
    ImageKeys& operator=(const ImageKeys&) = default;
    ~ImageKeys();

    std::byte aes[kMostAes] = {};
    std::size_t aesBytes = 0; // 16 or 32
    std::byte hmac[kHmac] = {};
};

// Encrypts and decrypts an image's blocks. A block's initial vector is the beginning of the HMAC of its number, so each
// stands for itself. Blocks are whole multiples of 16 bytes.
//
// Threads: any number at once.
class BlockCipher {
public:
    virtual ~BlockCipher() = default;
    virtual void decrypt(std::uint32_t block, std::span<std::byte> bytes) const = 0;
    virtual void encrypt(std::uint32_t block, std::span<std::byte> bytes) const = 0;
};

// What encrypted images need of libnettle.
struct Cryptography {
    static constexpr std::size_t kWrapKey = 24;   // bytes, of 3DES
    static constexpr std::size_t kWrapVector = 8; // bytes

    // PBKDF2 with HMAC-SHA-1.
    void (*deriveKey)(std::span<const std::byte> password, std::span<const std::byte> salt, std::uint32_t iterations,
                      std::span<std::byte, kWrapKey> key);
    // 3DES in CBC mode, in place; `bytes` are a multiple of 8.
    void (*unwrap)(std::span<const std::byte, kWrapKey> key, std::span<const std::byte, kWrapVector> vector,
                   std::span<std::byte> bytes);
    void (*wrap)(std::span<const std::byte, kWrapKey> key, std::span<const std::byte, kWrapVector> vector,
                 std::span<std::byte> bytes);
    std::unique_ptr<BlockCipher> (*makeCipher)(const ImageKeys& keys);
};

// Loads the module that holds them, with the first encrypted image; a program with static libraries has them linked.
// Throws ImageError kUnsupported when there is no module.
const Cryptography& cryptography();

// The module's one symbol.
constexpr const char* kCryptographyEntryPoint = "hdiutilCryptography";
using CryptographyEntryPoint = const Cryptography* (*)();

} // namespace hdi
