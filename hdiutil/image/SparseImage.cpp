#include "hdiutil/image/SparseImage.h"

#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/ImageError.h"
#include "hdiutil/image/RawImage.h"
#include "hdiutil/image/Sectors.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace hdi {

namespace {

constexpr std::size_t kHeader = 4096;
constexpr std::size_t kTable = 64; // where it begins in the header
constexpr std::size_t kTableEntries = (kHeader - kTable) / 4;
constexpr std::uint32_t kMostBandSectors = 1U << 21U; // a gigabyte

void requireSound(bool sound) {
    if (!sound) {
        damaged("the sparse image's header is damaged");
    }
}

class SparseSource final : public ByteSource {
public:
    SparseSource(ByteSourcePtr file, std::span<const std::byte, kHeader> header)
        : file_(std::move(file)), bandBytes_(loadBig<std::uint32_t>(header, 8) * kSectorBytes),
          size_(loadBig<std::uint32_t>(header, 16) * kSectorBytes) {
        requireSound(bandBytes_ > 0 && bandBytes_ <= kMostBandSectors * kSectorBytes && size_ > 0);
        if ((size_ + bandBytes_ - 1) / bandBytes_ > kTableEntries) {
            throw ImageError(ImageError::Kind::kUnsupported, "sparse images of more than 1008 bands are not supported");
        }
        places_.resize(static_cast<std::size_t>((size_ + bandBytes_ - 1) / bandBytes_));
        for (std::size_t i = 0; i < kTableEntries; ++i) {
            place(i, loadBig<std::uint32_t>(header, kTable + 4 * i));
        }
    }

    std::uint64_t size() const override { return size_; }

    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        while (!into.empty()) {
            const std::uint64_t within = offset % bandBytes_;
            const auto piece =
                into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), bandBytes_ - within)));
            const std::uint64_t begin = places_[static_cast<std::size_t>(offset / bandBytes_)];
            if (begin == 0) {
                std::ranges::fill(piece, std::byte{0});
            } else {
                file_->read(begin + within, piece);
            }
            offset += piece.size();
            into = into.subspan(piece.size());
        }
    }

private:
    // The stored band number `index` is the disk's band `number`, counted from 1; 0: not used.
    void place(std::size_t index, std::uint32_t number) {
        if (number == 0) {
            return;
        }
        requireSound(number <= places_.size() && places_[number - 1] == 0);
        const std::uint64_t begin = kHeader + index * bandBytes_;
        const std::uint64_t wanted = std::min(bandBytes_, size_ - (number - 1) * bandBytes_);
        requireSound(begin <= file_->size() && wanted <= file_->size() - begin);
        places_[number - 1] = begin;
    }

    const ByteSourcePtr file_;
    const std::uint64_t bandBytes_;
    const std::uint64_t size_;
    std::vector<std::uint64_t> places_; // in the file, by band; 0: nothing is stored
};

} // namespace

std::unique_ptr<DiskImage> openSparseImage(const ByteSourcePtr& file) {
    constexpr std::string_view kSignature = "sprs";
    std::array<std::byte, kHeader> header{};
    if (file->size() < kSignature.size()) {
        return nullptr;
    }
    file->read(0, std::span(header).first(static_cast<std::size_t>(std::min<std::uint64_t>(kHeader, file->size()))));
    if (!std::ranges::equal(std::span(header).first(kSignature.size()), std::as_bytes(std::span(kSignature)))) {
        return nullptr;
    }
    requireSound(file->size() >= kHeader);
    ImageFacts facts;
    facts.format = "UDSP";
    facts.description = "sparse disk image";
    facts.fileBytes = file->size();
    return imageOfDisk(std::make_shared<SparseSource>(file, header), facts);
}

} // namespace hdi
