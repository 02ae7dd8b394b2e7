#include "hdiutil/create/DiskLayout.h"
#include "hdiutil/create/UdifWriter.h"
#include "hdiutil/image/Codec.h"
#include "hdiutil/image/DiskImage.h"
#include "hdiutil/partition/PartitionMap.h"
#include "hdiutil/tests/image/Tools.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

// Text, noise and a stretch of zeros that begins and ends within chunks.
Bytes content() {
    return prose(std::size_t{1100} * 512, 1) + Bytes(std::size_t{3500} * 512) + noise(std::size_t{555} * 512, 2) +
           prose(std::size_t{1200} * 512, 3);
}

struct Case {
    const char* format;
    const char* layout;

    friend std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.format << " " << c.layout; }
};

class WrittenImage : public testing::TestWithParam<Case> {
protected:
    WrittenImage() : disk_(layOut(inMemory(content()), *diskLayout(GetParam().layout))) {
        WriteOptions options;
        options.format = codecOf(GetParam().format)->type;
        options.threads = 3;
        writeUdif(*disk_.disk, disk_.ranges, path_, options);
    }

    TemporaryFolder folder_;
    NewDisk disk_;
    std::string path_ = folder_ / "new.dmg";
};

} // namespace

TEST_P(WrittenImage, IsReadBack) {
    const auto image = DiskImage::open(path_);
    EXPECT_EQ(image->facts().format, GetParam().format);
    EXPECT_TRUE(image->verifyDataFork());
    EXPECT_EQ(errorOf([&] { image->verifyTables(nullptr); }), std::nullopt);
    EXPECT_TRUE(readAll(*image->disk()) == readAll(*disk_.disk));
}

TEST_P(WrittenImage, HoldsItsFileSystem) {
    const auto image = DiskImage::open(path_);
    const Partition last = readPartitionMap(*image->disk()).partitions.back();
    EXPECT_TRUE(readAll(*slice(image->disk(), last.offset, last.length)) == content());
}

TEST_P(WrittenImage, IsReadBy7Zip) {
    outputOf(SEVEN_ZIP " t -tdmg '" + path_ + "'");
    outputOf(SEVEN_ZIP " x -tdmg -o'" + (folder_ / "out") + "' '" + path_ + "'");
    bool found = false;
    for (const auto& file : std::filesystem::directory_iterator(folder_ / "out")) {
        found = found || readFile(file.path()) == content();
    }
    EXPECT_TRUE(found);
}

INSTANTIATE_TEST_SUITE_P(All, WrittenImage,
                         testing::Values(Case{"UDRO", "NONE"}, Case{"UDRO", "GPTSPUD"}, Case{"UDRO", "SPUD"},
                                         Case{"UDZO", "NONE"}, Case{"UDZO", "GPTSPUD"}, Case{"UDZO", "SPUD"},
                                         Case{"UDBZ", "NONE"}, Case{"UDBZ", "GPTSPUD"}, Case{"UDBZ", "SPUD"},
                                         Case{"ULFO", "NONE"}, Case{"ULFO", "GPTSPUD"}, Case{"ULFO", "SPUD"},
                                         Case{"ULMO", "NONE"}, Case{"ULMO", "GPTSPUD"}, Case{"ULMO", "SPUD"}));

namespace {

void writePlain(const ByteSourcePtr& source, const std::string& path, const WriteOptions& options = {}) {
    writeUdif(*source, {{"whole disk", 0, source->size() / 512}}, path, options);
}

class BrokenSource final : public ByteSource {
public:
    std::uint64_t size() const override { return std::uint64_t{512} * 100000; }
    void doRead(std::uint64_t offset, std::span<std::byte> into) const override {
        if (offset > 20000000) {
            throw ImageError(ImageError::Kind::kIo, "cannot be read");
        }
        std::fill(into.begin(), into.end(), std::byte{1});
    }
};

} // namespace

TEST(UdifWriter, GivesTheSameBytesForTheSameDisk) {
    const TemporaryFolder folder;
    writePlain(inMemory(content()), folder / "a");
    WriteOptions one;
    one.threads = 1;
    writePlain(inMemory(content()), folder / "b", one);
    EXPECT_TRUE(readFile(folder / "a") == readFile(folder / "b"));
}

TEST(UdifWriter, StoresZerosInNoRoom) {
    const TemporaryFolder folder;
    writePlain(inMemory(Bytes(std::size_t{100} * 1024 * 1024)), folder / "a");
    EXPECT_LT(std::filesystem::file_size(folder / "a"), 3000U);
    EXPECT_EQ(DiskImage::open(folder / "a")->facts().chunkCount, 1U);
}

TEST(UdifWriter, ReportsItsProgress) {
    const TemporaryFolder folder;
    std::vector<double> seen;
    WriteOptions options;
    options.progress = [&seen](double part) { seen.push_back(part); };
    writePlain(inMemory(content()), folder / "a", options);
    EXPECT_GT(seen.size(), 3U);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 1.0);
}

TEST(UdifWriter, LeavesNothingBehindAfterAnError) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorOf([&] { writePlain(std::make_shared<BrokenSource>(), folder / "a"); }), ImageError::Kind::kIo);
    EXPECT_TRUE(std::filesystem::is_empty(folder / ""));
}

TEST(UdifWriter, KeepsTheOldFileAfterAnError) {
    const TemporaryFolder folder;
    writeFile(folder / "a", bytesOf("old"));
    EXPECT_EQ(errorOf([&] { writePlain(std::make_shared<BrokenSource>(), folder / "a"); }), ImageError::Kind::kIo);
    EXPECT_EQ(readFile(folder / "a"), bytesOf("old"));
}

TEST(UdifWriter, ReportsAFolderThatIsNotThere) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorOf([&] { writePlain(inMemory(Bytes(512)), folder / "absent/a"); }), ImageError::Kind::kIo);
}

TEST(UdifWriter, RefusesDisksThatAreNotWholeSectors) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorOf([&] { writePlain(inMemory(Bytes(513)), folder / "a"); }), ImageError::Kind::kUnsupported);
}

TEST(UdifWriter, KnowsTheNamesOfFormatsAndLayouts) {
    EXPECT_EQ(codecOf("UDZO")->type, RunType::kZlib);
    EXPECT_EQ(codecOf("udzo"), nullptr);
    EXPECT_EQ(codecOf(""), nullptr);
    EXPECT_EQ(diskLayout("SPUD"), Layout::kApm);
    EXPECT_EQ(diskLayout("GPT"), std::nullopt);
}

} // namespace hdi::test
