#pragma once

#include "hdiutil/image/Password.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace hdi {

// How a new image is to be encrypted.
struct NewEncryption {
    std::uint32_t aesBits = 256; // 128 or 256
    PasswordPtr password;
};

// The bytes of a new image, one after the other. It appears under its name when it is complete, and only then, in place
// of what was there. Throws ImageError kIo.
class ImageOutput {
public:
    virtual ~ImageOutput() = default;

    virtual void append(std::span<const std::byte> bytes) = 0;
    virtual void appendZeros(std::uint64_t count) = 0; // no room in a plain file
    virtual std::uint64_t size() const = 0;            // of what was appended
    virtual void commit() = 0;
};

// The file itself, or with a password an encrypted image around it, as macOS lays it out.
std::unique_ptr<ImageOutput> newImageOutput(const std::string& path, const NewEncryption& encryption);

} // namespace hdi
