#include "hdiutil/front/BusyProcesses.h"
#include "hdiutil/front/Extractor.h"
#include "hdiutil/front/FileTree.h"
#include "hdiutil/front/FrontError.h"
#include "hdiutil/tests/front/MemoryVolume.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

class Extraction : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = "/tmp/extraction-test-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        base_ = pattern;
        fs::create_directory(folder());
    }
    void TearDown() override { EXPECT_TRUE(removeTree(base_)); }

    std::string base() const { return base_; }
    std::string folder() const { return base_ + "/out"; }
    void extract(const ExtractLimits& limits = {}) const {
        const std::atomic<bool> stop = false;
        extractVolume(volume, folder(), stop, limits);
    }
    std::string contents(const std::string& path) const {
        std::ifstream file(folder() + "/" + path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    struct stat factsOf(const std::string& path) const {
        struct stat facts {};
        EXPECT_EQ(lstat((folder() + "/" + path).c_str(), &facts), 0) << path;
        return facts;
    }

    MemoryVolume volume;

private:
    std::string base_;
};

TEST_F(Extraction, KeepsContentsModesTimesAndLinks) {
    const NodeId app = volume.addFolder(MemoryVolume::kRoot, "Setup.app", 0555);
    volume.addFile(app, "run", "#!/bin/sh\n", 0751);
    volume.addFile(app, "empty", "", 0600);
    volume.addLink(app, "link", "../nowhere");
    extract();
    EXPECT_EQ(contents("Setup.app/run"), "#!/bin/sh\n");
    EXPECT_EQ(factsOf("Setup.app").st_mode, S_IFDIR | 0555U);
    EXPECT_EQ(factsOf("Setup.app/run").st_mode, S_IFREG | 0751U);
    EXPECT_EQ(factsOf("Setup.app/run").st_mtim.tv_sec, 1000);
    EXPECT_EQ(factsOf("Setup.app/empty").st_size, 0);
    EXPECT_EQ(fs::read_symlink(folder() + "/Setup.app/link"), "../nowhere");
}

TEST_F(Extraction, KeepsHardLinks) {
    const NodeId file = volume.addFile(MemoryVolume::kRoot, "one", "text");
    const NodeId deeper = volume.addFolder(MemoryVolume::kRoot, "folder");
    volume.addEntry(deeper, "two", file);
    extract();
    EXPECT_EQ(factsOf("one").st_ino, factsOf("folder/two").st_ino);
    EXPECT_EQ(contents("folder/two"), "text");
}

TEST_F(Extraction, CopiesBigFilesInPieces) {
    std::string big;
    for (unsigned i = 0; big.size() < 20000000; ++i) {
        big += std::to_string(i * 2654435761U);
    }
    volume.addFile(MemoryVolume::kRoot, "big", big, 0400);
    extract();
    EXPECT_TRUE(contents("big") == big);
    EXPECT_EQ(factsOf("big").st_mode, S_IFREG | 0400U);
}

TEST_F(Extraction, LeavesZerosAsHoles) {
    volume.addFile(MemoryVolume::kRoot, "zeros", std::string(10000000, '\0'));
    extract();
    EXPECT_EQ(factsOf("zeros").st_size, 10000000);
    EXPECT_LT(factsOf("zeros").st_blocks, 100);
}

TEST_F(Extraction, NeverWritesThroughASymlink) {
    fs::create_directory(base() + "/outside");
    volume.addLink(MemoryVolume::kRoot, "door", base() + "/outside");
    const NodeId again = volume.addFolder(MemoryVolume::kRoot, "door"); // the same name a second time
    volume.addFile(again, "file", "escaped");
    EXPECT_THROW(extract(), FrontError);
    EXPECT_TRUE(fs::is_empty(base() + "/outside"));
}

TEST_F(Extraction, NeverWritesThroughALinkInPlaceOfAFile) {
    std::ofstream(base() + "/target") << "untouched";
    volume.addLink(MemoryVolume::kRoot, "file", base() + "/target");
    volume.addFile(MemoryVolume::kRoot, "file", "escaped");
    EXPECT_THROW(extract(), FrontError);
    std::ifstream file(base() + "/target");
    std::string text;
    file >> text;
    EXPECT_EQ(text, "untouched");
}

TEST_F(Extraction, RefusesAFolderInsideItself) {
    const NodeId folder = volume.addFolder(MemoryVolume::kRoot, "folder");
    volume.addEntry(folder, "again", folder);
    EXPECT_THROW(extract(), ImageError);
}

TEST_F(Extraction, RefusesMoreEntriesThanItsLimit) {
    for (int i = 0; i < 20; ++i) {
        volume.addFile(MemoryVolume::kRoot, std::to_string(i), "");
    }
    ExtractLimits limits;
    limits.entries = 19;
    EXPECT_THROW(extract(limits), ImageError);
    EXPECT_EQ(ExtractLimits().entries, 4'000'000U);
    EXPECT_EQ(ExtractLimits().depth, 200U);
}

TEST_F(Extraction, ReportsContentsThatCannotBeRead) {
    volume.breakReads(volume.addFile(MemoryVolume::kRoot, "broken", "text"));
    EXPECT_THROW(extract(), ImageError);
}

TEST_F(Extraction, ReportsAFileThatIsShorterThanItsSize) {
    volume.setSize(volume.addFile(MemoryVolume::kRoot, "short", "text"), 5);
    EXPECT_THROW(extract(), ImageError);
}

TEST_F(Extraction, ReportsAFileThatIsLargerThanAnyDisk) {
    // A tmpfs takes any size that a file can have at all.
    volume.setSize(volume.addFile(MemoryVolume::kRoot, "huge", "text"), std::uint64_t{1} << 63);
    EXPECT_THROW(extract(), FrontError);
}

TEST_F(Extraction, EndsEarlyWhenStopped) {
    volume.addFile(MemoryVolume::kRoot, "file", "text");
    const std::atomic<bool> stop = true;
    EXPECT_THROW(extractVolume(volume, folder(), stop), FrontError);
}

TEST_F(Extraction, CanBeRemovedWhateverItsModes) {
    const NodeId closed = volume.addFolder(MemoryVolume::kRoot, "closed", 0);
    volume.addFile(closed, "file", "text", 0);
    volume.addLink(closed, "link", "/etc");
    extract();
    EXPECT_TRUE(removeTree(folder()));
    EXPECT_FALSE(fs::exists(folder()));
    EXPECT_TRUE(fs::exists("/etc/passwd"));
}

TEST(FileTree, CountsWhatIsNotThereAsRemoved) {
    EXPECT_TRUE(removeTree("/tmp/no such folder 4711"));
}

TEST(BusyProcesses, TakeOnlyWholeNames) {
    EXPECT_TRUE(liesIn("/tmp/x", "/tmp/x"));
    EXPECT_TRUE(liesIn("/tmp/x/y", "/tmp/x"));
    EXPECT_FALSE(liesIn("/tmp/xy", "/tmp/x"));
    EXPECT_FALSE(liesIn("/tmp", "/tmp/x"));
}

} // namespace
} // namespace hdi::test
