#include "hdiutil/image/Crc32.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/PieceSums.h"
#include "hdiutil/tests/image/TestImage.h"

#include <gtest/gtest.h>

#include <atomic>

namespace hdi::test {

namespace {

constexpr std::size_t kPiece = PieceSums::kPiece;
constexpr std::size_t kDisk = 2 * kPiece + 512;

// Counts what is read of the first two pieces.
class CountingSource final : public ByteSource {
public:
    explicit CountingSource(Bytes bytes) : bytes_(std::move(bytes)) {}
    std::uint64_t size() const override { return bytes_.size(); }
    std::size_t count() const { return count_; }

private:
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        count_ += offset < 2 * kPiece ? into.size() : 0;
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(offset), into.size(), into.begin());
    }

    Bytes bytes_;
    mutable std::atomic<std::size_t> count_ = 0;
};

// Two whole pieces of data and a part of one, with their checksum.
Bytes rawImage() {
    TestImage image;
    image.sectorCount = kDisk / 512;
    image.addTable(0, image.sectorCount);
    const Bytes data = prose(kDisk, 1);
    image.addRun(RunType::kRaw, 0, image.sectorCount, data);
    UdifTrailer trailer = image.trailer();
    trailer.dataChecksum = {UdifChecksum::kCrc32, 32, crc32(data)};
    return image.bytes(trailer);
}

std::shared_ptr<const PieceSums> summed(const Bytes& bytes, std::size_t step) {
    auto sums = std::make_shared<PieceSums>();
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        sums->add(std::span(bytes).subspan(at, std::min(step, bytes.size() - at)));
    }
    return sums;
}

TEST(PieceSums, AreThoseOfWholePiecesHoweverTheBytesCome) {
    const Bytes bytes = prose(kDisk, 2);
    for (const std::size_t step : {std::size_t{1000}, kPiece, kDisk}) {
        const auto sums = summed(bytes, step);
        EXPECT_EQ(sums->of(0), crc32(std::span(bytes).first(kPiece))) << step;
        EXPECT_EQ(sums->of(1), crc32(std::span(bytes).subspan(kPiece, kPiece))) << step;
        EXPECT_EQ(sums->of(2), std::nullopt) << step;
    }
}

TEST(PieceSums, SpareTheChecksumASecondReading) {
    const Bytes bytes = rawImage();
    const auto file = std::make_shared<CountingSource>(bytes);
    ReadOptions options;
    options.sums = summed(bytes, 1000);
    const auto image = openDiskImage(file, options);
    const std::size_t before = file->count();
    EXPECT_TRUE(image->verifyDataFork());
    EXPECT_EQ(file->count(), before);
}

TEST(PieceSums, FindADamageThatCameWithTheBytes) {
    Bytes bytes = rawImage();
    bytes[kPiece + 7] ^= std::byte{1};
    ReadOptions options;
    options.sums = summed(bytes, 1000);
    const auto image = openDiskImage(inMemory(bytes), options);
    EXPECT_EQ(errorOf([&] { image->verifyDataFork(); }), ImageError::Kind::kDamaged);
}

} // namespace

} // namespace hdi::test
