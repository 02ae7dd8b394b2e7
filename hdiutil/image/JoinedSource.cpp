#include "hdiutil/image/JoinedSource.h"

#include "hdiutil/image/ImageError.h"

#include <algorithm>
#include <utility>

namespace hdi {

namespace {

class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}

    std::uint64_t size() const override { return bytes_.size(); }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    }

private:
    std::vector<std::byte> bytes_;
};

} // namespace

void JoinedSource::append(ByteSourcePtr part) {
    const std::uint64_t length = part->size();
    add(length, std::move(part));
}

void JoinedSource::append(std::vector<std::byte> bytes) {
    append(std::make_shared<MemorySource>(std::move(bytes)));
}

void JoinedSource::appendZeros(std::uint64_t length) {
    add(length, nullptr);
}

std::uint64_t JoinedSource::size() const {
    return parts_.empty() ? 0 : parts_.back().end;
}

void JoinedSource::doRead(std::uint64_t offset, std::span<std::byte> into) const {
    auto part = std::upper_bound(parts_.begin(), parts_.end(), offset,
                                 [](std::uint64_t at, const Part& candidate) { return at < candidate.end; });
    for (; !into.empty(); ++part) {
        const auto piece =
            into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), part->end - offset)));
        if (part->source) {
            part->source->read(offset - (part->end - part->length), piece);
        } else {
            std::fill(piece.begin(), piece.end(), std::byte{0});
        }
        offset += piece.size();
        into = into.subspan(piece.size());
    }
}

void JoinedSource::add(std::uint64_t length, ByteSourcePtr source) {
    if (length > 0) {
        parts_.push_back({size() + length, length, std::move(source)});
    }
}

} // namespace hdi
