#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Linked with what stands for libcrypto in a program with static libraries.

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytes(std::string_view digits) {
    Bytes result;
    for (std::size_t place = 0; place < digits.size(); place += 2) {
        result.push_back(static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(place, 2)), nullptr, 16)));
    }
    return result;
}

Bytes run(const EVP_CIPHER* cipher, const Bytes& key, const Bytes& vector, const Bytes& in, int encrypts) {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EXPECT_EQ(EVP_CipherInit_ex(context, cipher, nullptr, key.data(), vector.data(), encrypts), 1);
    EXPECT_EQ(EVP_CIPHER_CTX_set_padding(context, 0), 1);
    Bytes out(in.size());
    int written = 0;
    int rest = 0;
    EXPECT_EQ(EVP_CipherUpdate(context, out.data(), &written, in.data(), static_cast<int>(in.size())), 1);
    EXPECT_EQ(EVP_CipherFinal_ex(context, out.data() + written, &rest), 1);
    EXPECT_EQ(static_cast<std::size_t>(written + rest), in.size());
    EVP_CIPHER_CTX_free(context);
    return out;
}

// NIST SP 800-38A, appendix F: the first two blocks.
const Bytes kPlain = bytes("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51");
const Bytes kVector = bytes("000102030405060708090a0b0c0d0e0f");
const Bytes kKey128 = bytes("2b7e151628aed2a6abf7158809cf4f3c");
const Bytes kKey192 = bytes("8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b");
const Bytes kKey256 = bytes("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4");

struct Case {
    const EVP_CIPHER* cipher;
    Bytes key;
    Bytes encrypted;
};

const std::vector<Case>& cases() {
    static const std::vector<Case> table{
        {EVP_aes_128_ecb(), kKey128, bytes("3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf")},
        {EVP_aes_128_cbc(), kKey128, bytes("7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2")},
        {EVP_aes_192_ecb(), kKey192, bytes("bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef")},
        {EVP_aes_192_cbc(), kKey192, bytes("4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a")},
        {EVP_aes_256_ecb(), kKey256, bytes("f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870")},
        {EVP_aes_256_cbc(), kKey256, bytes("f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d")},
    };
    return table;
}

std::string sha256(std::string_view text) {
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    Bytes digest(32);
    unsigned int size = 0;
    EXPECT_EQ(EVP_DigestInit_ex(context, EVP_sha256(), nullptr), 1);
    EXPECT_EQ(EVP_DigestUpdate(context, text.data(), text.size()), 1);
    EXPECT_EQ(EVP_DigestFinal_ex(context, digest.data(), &size), 1);
    EXPECT_EQ(size, 32U);
    EVP_MD_CTX_free(context);
    return {digest.begin(), digest.end()};
}

} // namespace

TEST(ApfsCryptography, EncryptsAndDecryptsAsThePublishedVectorsSay) {
    for (const Case& each : cases()) {
        EXPECT_EQ(run(each.cipher, each.key, kVector, kPlain, 1), each.encrypted);
        EXPECT_EQ(run(each.cipher, each.key, kVector, each.encrypted, 0), kPlain);
    }
}

TEST(ApfsCryptography, RefusesAPartOfABlockAndPadding) {
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    Bytes out(32);
    int written = 0;
    EXPECT_EQ(EVP_CipherInit_ex(context, EVP_aes_128_ecb(), nullptr, kKey128.data(), nullptr, 1), 1);
    EXPECT_EQ(EVP_CIPHER_CTX_set_padding(context, 1), 0);
    EXPECT_EQ(EVP_CipherUpdate(context, out.data(), &written, kPlain.data(), 17), 0);
    EVP_CIPHER_CTX_free(context);
}

TEST(ApfsCryptography, DigestsAsPublished) {
    const Bytes abc = bytes("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    const Bytes nothing = bytes("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(sha256("abc"), std::string(abc.begin(), abc.end()));
    EXPECT_EQ(sha256(""), std::string(nothing.begin(), nothing.end()));
}
