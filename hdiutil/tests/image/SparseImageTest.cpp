#include "hdiutil/image/ByteOrder.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/image/SparseImage.h"
#include "hdiutil/tests/image/TestImage.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace hdi::test {

namespace {

constexpr std::size_t kBand = 4 * 512;

Bytes band(std::uint64_t seed) {
    return noise(kBand, seed);
}

Bytes firstOf(const Bytes& bytes, std::size_t length) {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)};
}

// A disk of 3.5 bands, of which the fourth and the first are stored, in this order.
Bytes sparseImage() {
    Bytes file(4096);
    std::ranges::copy(bytesOf("sprs"), file.begin());
    storeBig<std::uint32_t>(file, 4, 3);
    storeBig<std::uint32_t>(file, 8, 4);
    storeBig<std::uint32_t>(file, 12, 1);
    storeBig<std::uint32_t>(file, 16, 14);
    storeBig<std::uint32_t>(file, 64, 4);
    storeBig<std::uint32_t>(file, 68, 1);
    return file + band(4) + band(1);
}

Bytes sparseDisk() {
    return band(1) + Bytes(2 * kBand) + firstOf(band(4), kBand / 2);
}

void writeText(const std::string& path, const std::string& text) {
    writeFile(path, bytesOf(text));
}

std::string bundleList(const std::string& size, const std::string& bandSize) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict><key>band-size</key>" + bandSize +
           "<key>bundle-backingstore-version</key><integer>1</integer><key>diskimage-bundle-type</key>"
           "<string>com.apple.diskimage.sparsebundle</string><key>size</key>" +
           size + "</dict></plist>";
}

// A disk of 12.5 bands: the first, a short one, and the twelfth ("b").
class SparseBundle : public testing::Test {
protected:
    SparseBundle() {
        std::filesystem::create_directories(path_ + "/bands");
        writeText(path_ + "/Info.plist", list_);
        writeText(path_ + "/token", "");
        writeFile(path_ + "/bands/0", band(1));
        writeFile(path_ + "/bands/1", firstOf(band(2), 100));
        writeFile(path_ + "/bands/b", band(12));
    }

    static Bytes disk() {
        Bytes all = band(1) + firstOf(band(2), 100) + Bytes(kBand - 100) + Bytes(9 * kBand) + band(12);
        all.resize(kBand * 25 / 2);
        return all;
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_ / "a.sparsebundle";
    const std::string list_ = bundleList("<integer>25600</integer>", "<integer>2048</integer>");
};

} // namespace

TEST(SparseImage, ReadsStoredBandsInTheirPlacesAndTheOthersAsZeros) {
    const auto image = openDiskImage(inMemory(sparseImage()));
    EXPECT_EQ(image->facts().format, "UDSP");
    EXPECT_EQ(image->facts().diskBytes, 7168U);
    EXPECT_EQ(readAll(*image->disk()), sparseDisk());
    Bytes part(3000);
    image->disk()->read(1500, part);
    const Bytes disk = sparseDisk();
    EXPECT_EQ(part, Bytes(disk.begin() + 1500, disk.begin() + 4500));
}

TEST(SparseImage, IsRefusedWhereItsTableDoesNotFit) {
    const auto changed = [](std::size_t place, std::uint32_t value) {
        Bytes file = sparseImage();
        storeBig(std::span(file), place, value);
        return errorOf([&] { openDiskImage(inMemory(file)); });
    };
    EXPECT_EQ(changed(8, 0), ImageError::Kind::kDamaged) << "empty bands";
    EXPECT_EQ(changed(8, 0xffffffff), ImageError::Kind::kDamaged) << "huge bands";
    EXPECT_EQ(changed(16, 0), ImageError::Kind::kDamaged) << "no disk";
    EXPECT_EQ(changed(16, 0xffffffff), ImageError::Kind::kUnsupported) << "more bands than the table has room for";
    EXPECT_EQ(changed(64, 1), ImageError::Kind::kDamaged) << "a band twice";
    EXPECT_EQ(changed(64, 5), ImageError::Kind::kDamaged) << "a band beyond the disk";
    EXPECT_EQ(changed(72, 2), ImageError::Kind::kDamaged) << "a band beyond the file";
}

TEST(SparseImage, SurvivesEveryCutAndEveryByteOfItsHeader) {
    const Bytes whole = sparseImage();
    const auto use = [](const Bytes& file) {
        (void)errorOf([&] {
            const auto image = openDiskImage(inMemory(file));
            Bytes some(static_cast<std::size_t>(std::min<std::uint64_t>(image->disk()->size(), 20000)));
            image->disk()->read(0, some);
        });
    };
    for (std::size_t length = 0; length < whole.size(); length += 13) {
        use(firstOf(whole, length));
    }
    EXPECT_EQ(errorOf([&] { openDiskImage(inMemory(firstOf(whole, whole.size() - 1))); }), ImageError::Kind::kDamaged);
    for (std::size_t place = 4; place < 100; ++place) {
        for (const int value : {0, 1, 0x7f, 0xff}) {
            Bytes changed = whole;
            changed[place] = static_cast<std::byte>(value);
            use(changed);
        }
    }
}

TEST_F(SparseBundle, ReadsBandsShortBandsAndMissingOnes) {
    const auto image = DiskImage::open(path_);
    EXPECT_EQ(image->facts().format, "UDSB");
    EXPECT_EQ(image->facts().diskBytes, 25600U);
    EXPECT_TRUE(readAll(*image->disk()) == disk());
}

TEST_F(SparseBundle, TakesTheCopyOfAMissingListAndNumbersAsTexts) {
    std::filesystem::rename(path_ + "/Info.plist", path_ + "/Info.bckup");
    EXPECT_TRUE(readAll(*DiskImage::open(path_)->disk()) == disk());
    writeText(path_ + "/Info.plist", bundleList("<string>25600</string>", "<string>2048</string>"));
    EXPECT_TRUE(readAll(*DiskImage::open(path_)->disk()) == disk());
}

TEST_F(SparseBundle, IsRefusedWithoutUsableNumbers) {
    for (const std::string& list :
         {std::string("garbage"), bundleList("<integer>0</integer>", "<integer>2048</integer>"),
          bundleList("<integer>25600</integer>", "<integer>0</integer>"),
          bundleList("<integer>9223372036854775807</integer>", "<integer>2048</integer>"),
          bundleList("<true/>", "<integer>2048</integer>"), bundleList("<integer>1</integer>", "<string>x</string>")}) {
        writeText(path_ + "/Info.plist", list);
        EXPECT_EQ(errorOf([&] { DiskImage::open(path_); }), ImageError::Kind::kDamaged) << list;
    }
}

TEST_F(SparseBundle, IsRefusedByNameWhenItIsEncrypted) {
    writeText(path_ + "/token", "encrcdsa and more");
    EXPECT_EQ(errorOf([&] { DiskImage::open(path_); }), ImageError::Kind::kEncrypted);
}

TEST_F(SparseBundle, ReadsNothingThroughALink) {
    writeText(folder_ / "elsewhere", "secret");
    std::filesystem::create_symlink(folder_ / "elsewhere", path_ + "/bands/2");
    Bytes part(100);
    EXPECT_EQ(errorOf([&] { DiskImage::open(path_)->disk()->read(2 * kBand, part); }), ImageError::Kind::kDamaged);
}

TEST_F(SparseBundle, ReadsAlsoWhatHasMoreBandsThanStayOpen) {
    writeText(path_ + "/Info.plist", bundleList("<integer>102400</integer>", "<integer>512</integer>"));
    Bytes all;
    for (unsigned i = 0; i < 200; ++i) {
        char name[8];
        std::snprintf(name, sizeof name, "%x", i);
        writeFile(path_ + "/bands/" + name, noise(512, i));
        all = all + noise(512, i);
    }
    const ByteSourcePtr disk = DiskImage::open(path_)->disk();
    EXPECT_TRUE(readAll(*disk) == all);
    EXPECT_TRUE(readAll(*disk) == all);
}

namespace {

// An image of three parts: a chunk in each, the last one's a compressed one of zeros.
class Segmented : public testing::Test {
protected:
    Segmented() {
        image_.sectorCount = 4;
        image_.addTable(0, 4);
        image_.addRun(RunType::kRaw, 0, 2, noise(1024, 1));
        image_.addRun(RunType::kRaw, 2, 1, noise(512, 2));
        image_.addRun(RunType::kRaw, 3, 1, noise(512, 3));
        write("a.dmg", 1, 0, noise(1024, 1), image_.plist());
        write("a.002.dmgpart", 2, 1024, noise(512, 2), {});
        write("a.003.dmgpart", 3, 1536, noise(512, 3), {});
    }

    void write(const std::string& name, std::uint32_t number, std::uint64_t begin, const Bytes& data,
               const Bytes& plist, std::uint32_t master = 0) const {
        UdifTrailer trailer;
        trailer.dataLength = data.size();
        trailer.dataBegin = begin;
        trailer.plistOffset = data.size();
        trailer.plistLength = plist.size();
        trailer.segmentNumber = number;
        trailer.segmentCount = 3;
        trailer.masterChecksum.value = master; // the identifier follows from it
        trailer.sectorCount = 4;
        const auto end = udifTrailerBytes(trailer);
        writeFile(folder_ / name, data + plist + Bytes(end.begin(), end.end()));
    }

    auto errorOfOpening(const std::string& name) const {
        return errorOf([&] { readAll(*DiskImage::open(folder_ / name)->disk()); });
    }

    TestImage image_;
    TemporaryFolder folder_;
};

} // namespace

TEST_F(Segmented, IsReadThroughItsFirstFile) {
    EXPECT_EQ(readAll(*DiskImage::open(folder_ / "a.dmg")->disk()), noise(1024, 1) + noise(512, 2) + noise(512, 3));
}

TEST_F(Segmented, IsRefusedThroughAnother) {
    EXPECT_EQ(errorOfOpening("a.002.dmgpart"), ImageError::Kind::kUnsupported);
}

TEST_F(Segmented, IsRefusedWhenAPartIsMissing) {
    std::filesystem::remove(folder_ / "a.003.dmgpart");
    EXPECT_EQ(errorOfOpening("a.dmg"), ImageError::Kind::kIo);
}

TEST_F(Segmented, IsRefusedWhenAPartIsAnotherOnes) {
    write("a.002.dmgpart", 3, 1024, noise(512, 2), {});
    EXPECT_EQ(errorOfOpening("a.dmg"), ImageError::Kind::kDamaged) << "number";
    write("a.002.dmgpart", 2, 1023, noise(512, 2), {});
    EXPECT_EQ(errorOfOpening("a.dmg"), ImageError::Kind::kDamaged) << "place";
    write("a.002.dmgpart", 2, 1024, noise(512, 2), {}, 9);
    EXPECT_EQ(errorOfOpening("a.dmg"), ImageError::Kind::kDamaged) << "identifier";
    writeText(folder_ / "a.002.dmgpart", "garbage");
    EXPECT_EQ(errorOfOpening("a.dmg"), ImageError::Kind::kDamaged) << "no part at all";
}

} // namespace hdi::test
