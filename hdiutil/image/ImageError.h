#pragma once

#include <stdexcept>
#include <string>

namespace hdi {

// Why an image, or a part of it, cannot be used. what() is a sentence fit for standard error.
class ImageError : public std::runtime_error {
public:
    enum class Kind {
        kNotRecognized, // no container, partition map or file system that we know
        kEncrypted,
        kWrongPassword,
        kUnsupported, // known, but not handled, with the reason
        kDamaged,     // bounds, counts, loops or checksums that do not hold
        kOutOfRange,  // a read beyond the end
        kIo,          // the kernel could not give the bytes
    };

    ImageError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}

    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

[[noreturn]] inline void damaged(const std::string& message) {
    throw ImageError(ImageError::Kind::kDamaged, message);
}

} // namespace hdi
