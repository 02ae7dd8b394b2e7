#pragma once

#include "hdiutil/image/Cryptography.h"
#include "hdiutil/image/EncryptionHeader.h"

#include <span>

namespace hdi {

// The keys of an image that its header keeps encrypted. Throws ImageError: kWrongPassword, kUnsupported when there is
// no module for cryptography.
ImageKeys unlockKeys(const EncryptionHeader& header, std::span<const std::byte> password);

// New keys, from the kernel's random numbers, for an image that is to be made.
ImageKeys newKeys(std::uint32_t aesBits);

// A header for `keys` that `password` opens, still without the length of the data. Throws ImageError as above.
EncryptionHeader lockKeys(const ImageKeys& keys, std::span<const std::byte> password);

} // namespace hdi
