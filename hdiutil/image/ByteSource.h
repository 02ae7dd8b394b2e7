#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace hdi {

// Bytes that can be read at any place: a file, the decoded contents of an image, one partition of it.
//
// Threads: any number at once.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    // In bytes; never changes.
    virtual std::uint64_t size() const = 0;

    // Fills all of `into` from `offset`. Throws ImageError: kOutOfRange when that reaches beyond size(), kIo when the
    // file cannot be read or has shrunk, kDamaged when the bytes cannot be decoded or fail their checksum.
    void read(std::uint64_t offset, std::span<std::byte> into) const;

private:
    // The same for a range that lies within size().
    virtual void doRead(std::uint64_t offset, std::span<std::byte> into) const = 0;
};

using ByteSourcePtr = std::shared_ptr<const ByteSource>;

} // namespace hdi
