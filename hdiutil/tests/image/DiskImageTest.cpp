#include "hdiutil/create/ChunkEncoder.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/image/TestImage.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

std::unique_ptr<DiskImage> opened(const Bytes& bytes) {
    return openDiskImage(inMemory(bytes));
}

auto errorOfImage(const Bytes& bytes) {
    return errorOf([&] { opened(bytes); });
}

Bytes sectors(std::size_t count, std::uint64_t seed) {
    return prose(count * 512, seed);
}

Bytes packed(RunType format, const Bytes& raw) {
    return encodeChunk(format, raw).stored;
}

UdifChecksum sum(std::uint32_t value) {
    return {UdifChecksum::kCrc32, 32, value};
}

// Two tables, every kind of run but ADC, a gap between the tables, and data that begin late in the file.
struct MixedImage {
    TestImage image;
    Bytes disk;

    MixedImage() {
        image.before = bytesOf("something else");
        image.sectorCount = 100;
        image.addTable(0, 40);
        add(RunType::kZlib, packed(RunType::kZlib, sectors(10, 1)), sectors(10, 1));
        add(RunType::kZero, {}, Bytes(std::size_t{4} * 512));
        add(RunType::kBzip2, packed(RunType::kBzip2, sectors(10, 2)), sectors(10, 2));
        image.addRun(RunType::kComment, 0, 0);
        add(RunType::kRaw, sectors(16, 3), sectors(16, 3));
        const std::uint32_t first = crc32(disk);
        disk.resize(std::size_t{50} * 512); // no table
        image.tables.back().checksum = sum(first);
        image.addTable(50, 50);
        add(RunType::kLzma, packed(RunType::kLzma, sectors(20, 4)), sectors(20, 4));
        add(RunType::kIgnored, {}, Bytes(std::size_t{5} * 512));
        add(RunType::kLzfse, packed(RunType::kLzfse, sectors(25, 5)), sectors(25, 5));
        image.tables.back().checksum = sum(crc32(sectors(20, 4) + sectors(25, 5)));
    }

    void add(RunType type, const Bytes& stored, const Bytes& raw) {
        image.addRun(type, disk.size() / 512, raw.size() / 512, stored);
        disk = disk + raw;
    }

    UdifTrailer trailer() const {
        UdifTrailer trailer = image.trailer();
        trailer.dataChecksum = sum(crc32(image.data));
        Bytes sums(8);
        storeBig(std::span(sums), 0, image.tables[0].checksum.value);
        storeBig(std::span(sums), 4, image.tables[1].checksum.value);
        trailer.masterChecksum = sum(crc32(sums));
        return trailer;
    }

    Bytes bytes() const { return image.bytes(trailer()); }
};

} // namespace

TEST(DiskImage, GivesTheDiskThatAllKindsOfRunsMakeUp) {
    const MixedImage mixed;
    const auto image = opened(mixed.bytes());
    EXPECT_EQ(image->disk()->size(), mixed.disk.size());
    EXPECT_EQ(readAll(*image->disk()), mixed.disk);
}

TEST(DiskImage, GivesEveryPartOfTheDisk) {
    const MixedImage mixed;
    const ByteSourcePtr disk = opened(mixed.bytes())->disk();
    std::mt19937_64 random(1);
    for (int i = 0; i < 2000; ++i) {
        const std::size_t offset = random() % mixed.disk.size();
        Bytes part(random() % (mixed.disk.size() - offset));
        disk->read(offset, part);
        const auto from = mixed.disk.begin() + static_cast<std::ptrdiff_t>(offset);
        ASSERT_EQ(part, Bytes(from, from + static_cast<std::ptrdiff_t>(part.size())));
    }
}

TEST(DiskImage, RefusesReadsBeyondTheDisk) {
    const MixedImage mixed;
    const ByteSourcePtr disk = opened(mixed.bytes())->disk();
    Bytes into(2);
    EXPECT_EQ(errorOf([&] { disk->read(disk->size() - 1, into); }), ImageError::Kind::kOutOfRange);
    EXPECT_EQ(errorOf([&] { disk->read(UINT64_MAX, into); }), ImageError::Kind::kOutOfRange);
}

// A writer that is common on Linux leaves it so for input without partitions.
TEST(DiskImage, EndsWithItsTablesWhenTheTrailerGivesNoSize) {
    const MixedImage mixed;
    UdifTrailer trailer = mixed.trailer();
    trailer.sectorCount = 0;
    const auto image = opened(mixed.image.bytes(trailer));
    EXPECT_EQ(image->facts().diskBytes, 51200U);
    EXPECT_EQ(readAll(*image->disk()), mixed.disk);
    image->verifyTables(nullptr);
}

TEST(DiskImage, KnowsItsFacts) {
    const MixedImage mixed;
    const ImageFacts facts = opened(mixed.bytes())->facts();
    EXPECT_EQ(facts.diskBytes, 51200U);
    EXPECT_EQ(facts.chunkCount, 7U);
    EXPECT_TRUE(facts.hasDataForkChecksum);
    EXPECT_FALSE(facts.hasLicence);
}

TEST(DiskImage, NamesItsFormatAfterMostOfItsChunks) {
    const std::pair<RunType, const char*> formats[] = {
        {RunType::kRaw, "UDRO"},   {RunType::kZero, "UDRO"},  {RunType::kAdc, "UDCO"}, {RunType::kZlib, "UDZO"},
        {RunType::kBzip2, "UDBZ"}, {RunType::kLzfse, "ULFO"}, {RunType::kLzma, "ULMO"}};
    for (const auto& [type, name] : formats) {
        TestImage image;
        image.sectorCount = 1;
        image.addTable(0, 1);
        image.addRun(type, 0, 1, Bytes(512));
        EXPECT_EQ(opened(image.bytes())->facts().format, name);
    }
}

TEST(DiskImage, VerifiesAllChecksums) {
    const MixedImage mixed;
    const auto image = opened(mixed.bytes());
    EXPECT_TRUE(image->verifyDataFork());
    EXPECT_EQ(errorOf([&] { image->verifyTables(nullptr); }), std::nullopt);
}

TEST(DiskImage, SaysWhenThereIsNoChecksum) {
    const MixedImage mixed;
    EXPECT_FALSE(opened(mixed.image.bytes())->verifyDataFork());
}

TEST(DiskImage, FindsEachWrongChecksum) {
    const MixedImage mixed;
    UdifTrailer trailer = mixed.trailer();
    ++trailer.dataChecksum.value;
    EXPECT_EQ(errorOf([&] { opened(mixed.image.bytes(trailer))->verifyDataFork(); }), ImageError::Kind::kDamaged);
    trailer = mixed.trailer();
    ++trailer.masterChecksum.value;
    EXPECT_EQ(errorOf([&] { opened(mixed.image.bytes(trailer))->verifyTables(nullptr); }), ImageError::Kind::kDamaged);
    MixedImage other;
    ++other.image.tables[1].checksum.value;
    EXPECT_EQ(errorOf([&] { opened(other.bytes())->verifyTables(nullptr); }), ImageError::Kind::kDamaged);
}

TEST(DiskImage, FindsEveryChangedByteOfTheData) {
    const MixedImage mixed;
    const Bytes good = mixed.bytes();
    int found = 0;
    std::mt19937_64 random(7);
    for (int i = 0; i < 200; ++i) {
        Bytes bad = good;
        bad[mixed.image.before.size() + random() % mixed.image.data.size()] ^= std::byte{0x10};
        EXPECT_EQ(errorOf([&] { opened(bad)->verifyDataFork(); }), ImageError::Kind::kDamaged);
        const auto error = errorOf([&] { opened(bad)->verifyTables(nullptr); });
        // The tables' checksums are about the decoded bytes, and a few stored bits, padding, do not change these.
        EXPECT_TRUE(error == ImageError::Kind::kDamaged || readAll(*opened(bad)->disk()) == mixed.disk);
        found += error.has_value() ? 1 : 0;
    }
    EXPECT_GT(found, 190);
}

// A run that is not compressed may be larger than what is read at a time.
TEST(DiskImage, SumsALargeRunToItsLastByte) {
    constexpr std::uint64_t kSectors = 5121; // one more than two and a half MiB
    const Bytes disk = sectors(kSectors, 1);
    TestImage image;
    image.sectorCount = kSectors;
    image.addTable(0, kSectors);
    image.addRun(RunType::kRaw, 0, kSectors, disk);
    image.tables.back().checksum = sum(crc32(disk));
    UdifTrailer trailer = image.trailer();
    trailer.dataChecksum = sum(crc32(disk));
    const Bytes good = image.bytes(trailer);
    EXPECT_EQ(errorOf([&] { opened(good)->verifyTables(nullptr); }), std::nullopt);
    EXPECT_EQ(errorOf([&] { opened(good)->verifyDataFork(); }), std::nullopt);
    for (const std::size_t place :
         {std::size_t{1048575}, std::size_t{1048576}, std::size_t{2097152}, disk.size() - 1}) {
        Bytes bad = good;
        bad[place] ^= std::byte{1};
        EXPECT_EQ(errorOf([&] { opened(bad)->verifyTables(nullptr); }), ImageError::Kind::kDamaged) << place;
        EXPECT_EQ(errorOf([&] { opened(bad)->verifyDataFork(); }), ImageError::Kind::kDamaged) << place;
    }
}

TEST(DiskImage, ReportsADamagedChunkWhenItIsRead) {
    MixedImage mixed;
    mixed.image.data[3] ^= std::byte{0xff};
    const ByteSourcePtr disk = opened(mixed.bytes())->disk();
    Bytes sector(512);
    EXPECT_EQ(errorOf([&] { disk->read(0, sector); }), ImageError::Kind::kDamaged);
    EXPECT_EQ(errorOf([&] { disk->read(std::size_t{10} * 512, sector); }), std::nullopt);
}

TEST(DiskImage, RefusesChunksThatDecodeToAnotherLength) {
    for (const std::size_t stored : {9U, 11U}) {
        TestImage image;
        image.sectorCount = 10;
        image.addTable(0, 10);
        image.addRun(RunType::kZlib, 0, 10, packed(RunType::kZlib, sectors(stored, 1)));
        Bytes into(std::size_t{10} * 512);
        EXPECT_EQ(errorOf([&] { opened(image.bytes())->disk()->read(0, into); }), ImageError::Kind::kDamaged);
    }
}

TEST(DiskImage, RefusesEncryptedImagesAndSaysSo) {
    const std::pair<Bytes, const char*> images[] = {
        {bytesOf("encrcdsa") + Bytes(2000), "the image is encrypted; -stdinpass reads its password"},
        {Bytes(2000) + bytesOf("cdsaencr"), "encrypted images of the first version are not supported"},
    };
    for (const auto& [bytes, message] : images) {
        try {
            opened(bytes);
            FAIL();
        } catch (const ImageError& error) {
            EXPECT_EQ(error.kind(), ImageError::Kind::kEncrypted);
            EXPECT_STREQ(error.what(), message);
        }
    }
}

TEST(DiskImage, KnowsASignatureThatIsTheWholeFile) {
    EXPECT_EQ(errorOf([] { opened(bytesOf("sprs")); }), ImageError::Kind::kDamaged);
    EXPECT_EQ(errorOf([] { opened(bytesOf("spr")); }), ImageError::Kind::kNotRecognized);
}

TEST(DiskImage, DoesNotRecogniseWhatIsNoImage) {
    for (const Bytes& bytes : {Bytes(), bytesOf("x"), Bytes(511), Bytes(100000), prose(100000, 1), bytesOf("koly")}) {
        EXPECT_EQ(errorOfImage(bytes), ImageError::Kind::kNotRecognized) << bytes.size();
    }
}

TEST(DiskImage, OpensADiskAsItStands) {
    Bytes disk = noise(100000, 1);
    disk[1024] = std::byte{'H'};
    disk[1025] = std::byte{'+'};
    const auto image = opened(disk);
    EXPECT_EQ(image->facts().format, "raw");
    EXPECT_EQ(readAll(*image->disk()), disk);
    EXPECT_FALSE(image->verifyDataFork());
}

TEST(DiskImage, RefusesTrailersThatPointOutsideTheFile) {
    const MixedImage mixed;
    const Bytes good = mixed.bytes();
    const std::size_t trailer = good.size() - 512;
    const auto changed = [&](std::size_t offset, std::uint64_t value) {
        Bytes bytes = good;
        storeBig(std::span(bytes), trailer + offset, value);
        return errorOfImage(bytes);
    };
    EXPECT_EQ(changed(24, good.size() + 1), ImageError::Kind::kDamaged) << "data offset";
    EXPECT_EQ(changed(32, UINT64_MAX), ImageError::Kind::kDamaged) << "data length";
    EXPECT_EQ(changed(216, UINT64_MAX), ImageError::Kind::kDamaged) << "list offset";
    EXPECT_EQ(changed(224, good.size()), ImageError::Kind::kDamaged) << "list length";
    EXPECT_EQ(changed(224, 0), ImageError::Kind::kUnsupported) << "no list";
    EXPECT_EQ(changed(492, UINT64_MAX), ImageError::Kind::kDamaged) << "disk size";
    EXPECT_EQ(changed(492, 99), ImageError::Kind::kDamaged) << "tables beyond the disk";
    EXPECT_EQ(changed(56, 0x100000002), ImageError::Kind::kUnsupported) << "segments";
}

TEST(DiskImage, SurvivesEveryChangedByteOfTheTrailer) {
    const MixedImage mixed;
    const Bytes good = mixed.bytes();
    for (std::size_t i = good.size() - 512; i < good.size(); ++i) {
        Bytes bytes = good;
        bytes[i] ^= std::byte{0x81};
        // Any answer, but no crash; sanitizers watch. The disk may have become huge.
        errorOf([&] {
            const auto image = opened(bytes);
            readAll(*slice(image->disk(), 0, std::min<std::uint64_t>(image->disk()->size(), 100000)));
        });
    }
    SUCCEED();
}

TEST(DiskImage, SurvivesEveryTruncation) {
    const Bytes good = MixedImage().bytes();
    for (std::size_t size = 0; size < good.size(); size += 97) {
        EXPECT_EQ(errorOfImage(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
                  ImageError::Kind::kNotRecognized);
    }
}

} // namespace hdi::test
