#include "hdiutil/image/PieceSums.h"

#include "hdiutil/image/Crc32.h"

#include <algorithm>
#include <utility>

namespace hdi {

void PieceSums::add(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto part = bytes.first(std::min(bytes.size(), static_cast<std::size_t>(kPiece - lastLength_)));
        last_ = crc32(part, last_);
        lastLength_ += part.size();
        bytes = bytes.subspan(part.size());
        if (lastLength_ == kPiece) {
            whole_.push_back(std::exchange(last_, 0));
            lastLength_ = 0;
        }
    }
}

std::optional<std::uint32_t> PieceSums::of(std::size_t index) const {
    return index < whole_.size() ? std::optional(whole_[index]) : std::nullopt;
}

} // namespace hdi
