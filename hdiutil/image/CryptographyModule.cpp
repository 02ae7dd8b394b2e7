#include "hdiutil/image/Cryptography.h"

#include <nettle/aes.h>
#include <nettle/cbc.h>
#include <nettle/des.h>
#include <nettle/hmac.h>
#include <nettle/pbkdf2.h>

#include <cstring>
#include <type_traits>

// Kept free of the rest of hdiutil: the module that this is has no second copy of it.
namespace hdi {

namespace {

const std::uint8_t* in(const std::byte* bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes);
}

std::uint8_t* out(std::byte* bytes) {
    return reinterpret_cast<std::uint8_t*>(bytes);
}

void deriveKey(std::span<const std::byte> password, std::span<const std::byte> salt, std::uint32_t iterations,
               std::span<std::byte, Cryptography::kWrapKey> key) {
    pbkdf2_hmac_sha1(password.size(), in(password.data()), iterations, salt.size(), in(salt.data()), key.size(),
                     out(key.data()));
}

void decryptDes3(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    des3_decrypt(static_cast<const des3_ctx*>(key), length, into, from);
}
void encryptDes3(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    des3_encrypt(static_cast<const des3_ctx*>(key), length, into, from);
}

void unwrap(std::span<const std::byte, Cryptography::kWrapKey> key,
            std::span<const std::byte, Cryptography::kWrapVector> vector, std::span<std::byte> bytes) {
    des3_ctx context;
    des3_set_key(&context, in(key.data())); // its answer is only about weak keys
    std::uint8_t chained[Cryptography::kWrapVector];
    std::memcpy(chained, vector.data(), sizeof chained);
    cbc_decrypt(&context, decryptDes3, sizeof chained, chained, bytes.size(), out(bytes.data()), in(bytes.data()));
    explicit_bzero(&context, sizeof context);
}

void wrap(std::span<const std::byte, Cryptography::kWrapKey> key,
          std::span<const std::byte, Cryptography::kWrapVector> vector, std::span<std::byte> bytes) {
    des3_ctx context;
    des3_set_key(&context, in(key.data()));
    std::uint8_t chained[Cryptography::kWrapVector];
    std::memcpy(chained, vector.data(), sizeof chained);
    cbc_encrypt(&context, encryptDes3, sizeof chained, chained, bytes.size(), out(bytes.data()), in(bytes.data()));
    explicit_bzero(&context, sizeof context);
}

// One length of key.
template <typename Context, void (*setEncrypt)(Context*, const std::uint8_t*),
          void (*setDecrypt)(Context*, const std::uint8_t*), nettle_cipher_func* encryptBlocks,
          nettle_cipher_func* decryptBlocks>
class AesCipher final : public BlockCipher {
public:
    explicit AesCipher(const ImageKeys& keys) {
        setEncrypt(&encrypting_, in(keys.aes));
        setDecrypt(&decrypting_, in(keys.aes));
        hmac_sha1_set_key(&hmac_, ImageKeys::kHmac, in(keys.hmac));
    }
    AesCipher(const AesCipher&) = delete;
    AesCipher& operator=(const AesCipher&) = delete;
    ~AesCipher() override {
        explicit_bzero(&encrypting_, sizeof encrypting_);
        explicit_bzero(&decrypting_, sizeof decrypting_);
        explicit_bzero(&hmac_, sizeof hmac_);
    }

    void decrypt(std::uint32_t block, std::span<std::byte> bytes) const override {
        std::uint8_t vector[AES_BLOCK_SIZE];
        vectorOf(block, vector);
        cbc_decrypt(&decrypting_, decryptBlocks, AES_BLOCK_SIZE, vector, bytes.size(), out(bytes.data()),
                    in(bytes.data()));
    }
    void encrypt(std::uint32_t block, std::span<std::byte> bytes) const override {
        std::uint8_t vector[AES_BLOCK_SIZE];
        vectorOf(block, vector);
        cbc_encrypt(&encrypting_, encryptBlocks, AES_BLOCK_SIZE, vector, bytes.size(), out(bytes.data()),
                    in(bytes.data()));
    }

private:
    void vectorOf(std::uint32_t block, std::uint8_t (&vector)[AES_BLOCK_SIZE]) const {
        const std::uint32_t number = __builtin_bswap32(block); // most significant byte first
        hmac_sha1_ctx context = hmac_;
        hmac_sha1_update(&context, sizeof number, reinterpret_cast<const std::uint8_t*>(&number));
        hmac_sha1_digest(&context, AES_BLOCK_SIZE, vector);
    }

    Context encrypting_{};
    Context decrypting_{};
    hmac_sha1_ctx hmac_{};
};

void encrypt128(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    aes128_encrypt(static_cast<const aes128_ctx*>(key), length, into, from);
}
void decrypt128(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    aes128_decrypt(static_cast<const aes128_ctx*>(key), length, into, from);
}
void encrypt256(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    aes256_encrypt(static_cast<const aes256_ctx*>(key), length, into, from);
}
void decrypt256(const void* key, std::size_t length, std::uint8_t* into, const std::uint8_t* from) {
    aes256_decrypt(static_cast<const aes256_ctx*>(key), length, into, from);
}

using Aes128 = AesCipher<aes128_ctx, aes128_set_encrypt_key, aes128_set_decrypt_key, encrypt128, decrypt128>;
using Aes256 = AesCipher<aes256_ctx, aes256_set_encrypt_key, aes256_set_decrypt_key, encrypt256, decrypt256>;

std::unique_ptr<BlockCipher> makeCipher(const ImageKeys& keys) {
    if (keys.aesBytes == AES128_KEY_SIZE) {
        return std::make_unique<Aes128>(keys);
    }
    return std::make_unique<Aes256>(keys);
}

constexpr Cryptography kCryptography{deriveKey, unwrap, wrap, makeCipher};

} // namespace

} // namespace hdi

extern "C" [[gnu::visibility("default")]] const hdi::Cryptography* hdiutilCryptography() {
    return &hdi::kCryptography;
}

static_assert(std::is_same_v<decltype(&hdiutilCryptography), hdi::CryptographyEntryPoint>);
