#pragma once

#include "hdiutil/image/ByteSource.h"

#include <cstdint>
#include <vector>

namespace hdi {

// Sources one after the other. Append everything before the first read.
class JoinedSource final : public ByteSource {
public:
    void append(ByteSourcePtr part);
    void append(std::vector<std::byte> bytes);
    void appendZeros(std::uint64_t length);

    std::uint64_t size() const override;
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override;

private:
    struct Part {
        std::uint64_t end = 0;
        std::uint64_t length = 0;
        ByteSourcePtr source; // null for zeros
    };

    void add(std::uint64_t length, ByteSourcePtr source);

    std::vector<Part> parts_;
};

} // namespace hdi
