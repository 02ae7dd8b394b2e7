#include <openssl/err.h>
#include <openssl/evp.h>

#include <nettle/aes.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <variant>

// The few functions of OpenSSL's libcrypto that libfsapfs calls, over libnettle: in a program with static libraries,
// libcrypto would be four fifths of it. AES is what key bags are encrypted with, SHA-256 what passwords go through.
//
// As libfsapfs calls them and not more: one cipher or digest a context, whole blocks, no padding, no engine.

using Block = std::array<std::uint8_t, AES_BLOCK_SIZE>;

struct evp_cipher_st {
    std::size_t keySize;
    bool chained;
};

struct evp_cipher_ctx_st {
    using Key = std::variant<aes128_ctx, aes192_ctx, aes256_ctx>;

    Key key;
    bool chained = false;
    bool encrypts = false;
    Block vector{};
};

struct evp_md_st {};

struct evp_md_ctx_st {
    sha256_ctx state;
};

namespace {

constexpr int kDone = 1;
constexpr int kFailed = 0;

constexpr std::array<EVP_CIPHER, 6> kCiphers{{{AES128_KEY_SIZE, false},
                                              {AES128_KEY_SIZE, true},
                                              {AES192_KEY_SIZE, false},
                                              {AES192_KEY_SIZE, true},
                                              {AES256_KEY_SIZE, false},
                                              {AES256_KEY_SIZE, true}}};
constexpr EVP_MD kSha256{};

void setKey(EVP_CIPHER_CTX& context, std::size_t size, const std::uint8_t* key) {
    if (size == AES128_KEY_SIZE) {
        auto& chosen = context.key.emplace<aes128_ctx>();
        context.encrypts ? aes128_set_encrypt_key(&chosen, key) : aes128_set_decrypt_key(&chosen, key);
    } else if (size == AES192_KEY_SIZE) {
        auto& chosen = context.key.emplace<aes192_ctx>();
        context.encrypts ? aes192_set_encrypt_key(&chosen, key) : aes192_set_decrypt_key(&chosen, key);
    } else {
        auto& chosen = context.key.emplace<aes256_ctx>();
        context.encrypts ? aes256_set_encrypt_key(&chosen, key) : aes256_set_decrypt_key(&chosen, key);
    }
}

struct OneBlock {
    bool encrypts;
    const Block& in;
    Block& out;

    void operator()(const aes128_ctx& key) const {
        (encrypts ? aes128_encrypt : aes128_decrypt)(&key, out.size(), out.data(), in.data());
    }
    void operator()(const aes192_ctx& key) const {
        (encrypts ? aes192_encrypt : aes192_decrypt)(&key, out.size(), out.data(), in.data());
    }
    void operator()(const aes256_ctx& key) const {
        (encrypts ? aes256_encrypt : aes256_decrypt)(&key, out.size(), out.data(), in.data());
    }
};

void combine(Block& block, const Block& other) {
    std::transform(block.begin(), block.end(), other.begin(), block.begin(), std::bit_xor<std::uint8_t>());
}

Block cipherBlock(EVP_CIPHER_CTX& context, Block in) {
    const Block original = in;
    Block out{};
    if (context.chained && context.encrypts) {
        combine(in, context.vector);
    }
    std::visit(OneBlock{context.encrypts, in, out}, context.key);
    if (context.chained && !context.encrypts) {
        combine(out, context.vector);
    }
    context.vector = context.encrypts ? out : original;
    return out;
}

} // namespace

extern "C" {

// NOLINTBEGIN(readability-identifier-naming): OpenSSL's names

const EVP_CIPHER* EVP_aes_128_ecb() {
    return &kCiphers[0];
}
const EVP_CIPHER* EVP_aes_128_cbc() {
    return &kCiphers[1];
}
const EVP_CIPHER* EVP_aes_192_ecb() {
    return &kCiphers[2];
}
const EVP_CIPHER* EVP_aes_192_cbc() {
    return &kCiphers[3];
}
const EVP_CIPHER* EVP_aes_256_ecb() {
    return &kCiphers[4];
}
const EVP_CIPHER* EVP_aes_256_cbc() {
    return &kCiphers[5];
}

EVP_CIPHER_CTX* EVP_CIPHER_CTX_new() {
    return std::make_unique<EVP_CIPHER_CTX>().release();
}

void EVP_CIPHER_CTX_free(EVP_CIPHER_CTX* context) {
    const std::unique_ptr<EVP_CIPHER_CTX> owned(context);
}

int EVP_CIPHER_CTX_set_padding(EVP_CIPHER_CTX*, int padding) {
    return padding == 0 ? kDone : kFailed;
}

int EVP_CipherInit_ex(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, ENGINE*, const unsigned char* key,
                      const unsigned char* vector, int encrypts) {
    if (context == nullptr || cipher == nullptr || key == nullptr) {
        return kFailed;
    }
    context->chained = cipher->chained;
    context->encrypts = encrypts != 0;
    context->vector = {};
    if (vector != nullptr) {
        std::copy_n(vector, context->vector.size(), context->vector.begin());
    }
    setKey(*context, cipher->keySize, key);
    return kDone;
}

int EVP_CipherUpdate(EVP_CIPHER_CTX* context, unsigned char* out, int* written, const unsigned char* in, int size) {
    if (size < 0 || size % AES_BLOCK_SIZE != 0) {
        return kFailed;
    }
    for (int place = 0; place < size; place += AES_BLOCK_SIZE) {
        Block block{};
        std::copy_n(in + place, block.size(), block.begin());
        std::ranges::copy(cipherBlock(*context, block), out + place);
    }
    *written = size;
    return kDone;
}

// Without padding nothing is left over.
int EVP_CipherFinal_ex(EVP_CIPHER_CTX*, unsigned char*, int* written) {
    *written = 0;
    return kDone;
}

const EVP_MD* EVP_sha256() {
    return &kSha256;
}

EVP_MD_CTX* EVP_MD_CTX_new() {
    return std::make_unique<EVP_MD_CTX>().release();
}

void EVP_MD_CTX_free(EVP_MD_CTX* context) {
    const std::unique_ptr<EVP_MD_CTX> owned(context);
}

int EVP_DigestInit_ex(EVP_MD_CTX* context, const EVP_MD*, ENGINE*) {
    sha256_init(&context->state);
    return kDone;
}

int EVP_DigestUpdate(EVP_MD_CTX* context, const void* data, std::size_t size) {
    sha256_update(&context->state, size, static_cast<const std::uint8_t*>(data));
    return kDone;
}

int EVP_DigestFinal_ex(EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
    sha256_digest(&context->state, SHA256_DIGEST_SIZE, digest);
    if (size != nullptr) {
        *size = SHA256_DIGEST_SIZE;
    }
    return kDone;
}

unsigned long ERR_get_error() {
    return 0;
}

void ERR_error_string_n(unsigned long, char* text, std::size_t size) {
    if (size > 0) {
        text[0] = '\0';
    }
}

// NOLINTEND(readability-identifier-naming)

} // extern "C"
