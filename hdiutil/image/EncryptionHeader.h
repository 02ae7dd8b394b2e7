#pragma once

#include "hdiutil/image/ByteSource.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace hdi {

// What stands before an encrypted image: how its blocks are encrypted, and its keys, themselves encrypted with a key
// made from a password.
//
// Facts: R.-P. Weinmann and J. Appelbaum, "Unlocking FileVault" (23C3, 2006), the documentation of hashcat's and John
// the Ripper's hash format "dmg", and images made by macOS. Everything is big-endian.
struct EncryptionHeader {
    static constexpr std::uint32_t kBlockBytes = 512;
    static constexpr std::uint64_t kDataOffset = 122368; // as macOS lays it out
    static constexpr std::size_t kWrappedSlots = 64;

    std::uint32_t aesBits = 256;
    std::array<std::byte, 16> identifier{};
    std::uint32_t blockBytes = kBlockBytes;
    std::uint64_t dataLength = 0; // of the image inside, in bytes
    std::uint64_t dataOffset = kDataOffset;

    // One password's copy of the keys.
    struct WrappedKeys {
        std::uint32_t iterations = 0;
        std::vector<std::byte> salt; // at most 32
        std::array<std::byte, 8> vector{};
        std::vector<std::byte> keys; // padded, a multiple of 8, at most kWrappedSlots
    };
    std::vector<WrappedKeys> passwords; // usually one
};

// The header of a file that begins with "encrcdsa". Throws ImageError: kDamaged for lengths and places that do not fit
// the file or each other, kUnsupported for ciphers that macOS does not use and for an image without a password (one
// that only a certificate opens).
EncryptionHeader readEncryptionHeader(const ByteSource& file);

// The same as bytes, header.dataOffset of them, of a header with one password.
std::vector<std::byte> encryptionHeaderBytes(const EncryptionHeader& header);

// Whether the file is encrypted as a whole, of either version.
bool isEncrypted(const ByteSource& file);

} // namespace hdi
