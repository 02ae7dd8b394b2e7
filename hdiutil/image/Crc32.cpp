#include "hdiutil/image/Crc32.h"

#include <libdeflate.h>

#include <array>

namespace hdi {

namespace {

// Polynomials over GF(2) modulo the one of CRC-32, highest power in the lowest bit.
constexpr std::uint32_t kPolynomial = 0xedb88320;
constexpr std::uint32_t kOne = 0x80000000;

constexpr std::uint32_t multiply(std::uint32_t a, std::uint32_t b) {
    std::uint32_t product = 0;
    for (; a != 0; a <<= 1U) {
        if ((a & kOne) != 0) {
            product ^= b;
        }
        b = (b & 1U) != 0 ? (b >> 1U) ^ kPolynomial : b >> 1U;
    }
    return product;
}

// x to the power 2^0, 2^1, 2^2, …; the row repeats after 32.
constexpr std::array<std::uint32_t, 32> squares() {
    std::array<std::uint32_t, 32> row{};
    row[0] = kOne >> 1U;
    for (std::size_t i = 1; i < row.size(); ++i) {
        row[i] = multiply(row[i - 1], row[i - 1]);
    }
    return row;
}

constexpr auto kSquares = squares();

// What so many zero bytes multiply a checksum by.
std::uint32_t shiftBy(std::uint64_t bytes) {
    std::uint32_t power = kOne;
    for (std::size_t bit = 3; bytes != 0; bytes >>= 1U, ++bit) {
        if ((bytes & 1U) != 0) {
            power = multiply(kSquares[bit % kSquares.size()], power);
        }
    }
    return power;
}

} // namespace

std::uint32_t crc32(std::span<const std::byte> bytes, std::uint32_t before) {
    return libdeflate_crc32(before, bytes.data(), bytes.size());
}

std::uint32_t joinCrc32(std::uint32_t first, std::uint32_t second, std::uint64_t secondLength) {
    return multiply(shiftBy(secondLength), first) ^ second;
}

std::uint32_t crc32OfZeros(std::uint64_t length) {
    return multiply(shiftBy(length), 0xffffffff) ^ 0xffffffff;
}

} // namespace hdi
