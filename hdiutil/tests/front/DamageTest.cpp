#include "hdiutil/tests/front/DamageRun.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr std::uint64_t kMebibyte = std::uint64_t{1024} * 1024;
constexpr std::uint64_t kSeeds = 12; // of each kind of damage; the whole run is tools' damaged_images

class Damaged : public FrontWorld, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Images, Damaged,
                         testing::Values("apfs-gpt-zlib-one-file", "hfsplus-gpt-zlib-links",
                                         "hfsplus-gpt-zlib-stub-app"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST_P(Damaged, IsNeverShownAsGoodWhereAChecksumCoversIt) {
    const DamageSubject subject(image(GetParam() + std::string(".dmg")));
    ASSERT_TRUE(subject.isChecksummed());
    Counts counts;
    for (const Damage damage : kDamages) {
        for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
            const Verdict verdict = subject.judge(subject.damaged(damage, seed), base() + "/scratch", true);
            EXPECT_NE(verdict, Verdict::kSilentlyWrong) << nameOf(damage) << ", seed " << seed;
            ++counts[verdict];
        }
    }
    EXPECT_GT(counts[Verdict::kRefused], 0U);
}

// Most of the file is the header's padding, which nothing reads.
TEST_F(FrontWorld, AnEncryptedImageIsNeverShownAsGoodWhenItsContentsAreDamaged) {
    const DamageSubject subject(image("encrypted.dmg"), "test123");
    Counts counts;
    for (const Damage damage : kDamages) {
        for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
            const Verdict verdict = subject.judge(subject.damaged(damage, seed), base() + "/scratch", true);
            EXPECT_NE(verdict, Verdict::kSilentlyWrong) << nameOf(damage) << ", seed " << seed;
            ++counts[verdict];
        }
    }
    EXPECT_GT(counts[Verdict::kRefused], 0U);
}

// A real volume in bands of 64 KiB, the last ones first.
TEST_F(FrontWorld, SurvivesDamageToASparseImage) {
    const std::string raw = base() + "/raw.img";
    ASSERT_EQ(hdiutil({"convert", image("hfsplus-gpt-zlib-stub-app.dmg"), "-format", "UDRW", "-o", raw}).status, 0);
    const std::string made = base() + "/a.sparseimage";
    const Outcome packed = runProgram(
        {"python3", "-c",
         "import struct, sys\n"
         "disk = open(sys.argv[1], 'rb').read()\n"
         "bands = [i for i in range(-(-len(disk) // 65536)) if disk[i * 65536:(i + 1) * 65536].strip(b'\\0')][::-1]\n"
         "head = struct.pack('>4sIIII44x', b'sprs', 3, 128, 1, len(disk) // 512)\n"
         "head += b''.join(struct.pack('>I', i + 1) for i in bands)\n"
         "body = b''.join(disk[i * 65536:(i + 1) * 65536].ljust(65536, b'\\0') for i in bands)\n"
         "open(sys.argv[2], 'wb').write(head.ljust(4096, b'\\0') + body)\n",
         raw, made});
    ASSERT_EQ(packed.status, 0) << packed.err;
    const Outcome again = hdiutil({"convert", made, "-format", "UDRW", "-o", base() + "/again.img"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(runProgram({"cmp", raw, base() + "/again.img"}).status, 0);
    const DamageSubject subject(made);
    Counts counts;
    for (const Damage damage : kDamages) {
        for (std::uint64_t seed = 0; seed < kSeeds; ++seed) { // none of them crashes or hangs
            ++counts[subject.judge(subject.damaged(damage, seed), base() + "/scratch", true)];
        }
    }
    EXPECT_GT(counts[Verdict::kRefused], 0U);
}

TEST_F(FrontWorld, SurvivesDamageToTheTreesOfABareVolume) {
    fs::create_directories(base() + "/source/folder");
    for (int i = 0; i < 300; ++i) { // so that there is something in the trees
        std::ofstream(base() + "/source/folder/file number " + std::to_string(i)) << i;
    }
    const std::string made = base() + "/bare.iso";
    ASSERT_EQ(
        runProgram({"xorriso", "-as", "mkisofs", "-hfsplus", "-V", "BARE", "-o", made, base() + "/source"}).status, 0);
    const DamageSubject subject(made);
    EXPECT_FALSE(subject.isChecksummed());
    Counts counts;
    for (std::uint64_t seed = 0; seed < 40; ++seed) { // none of them crashes or hangs
        ++counts[subject.judge(subject.damaged(Damage::kTreeByte, seed), base() + "/scratch", true)];
    }
    EXPECT_LT(counts[Verdict::kUnaffected], 40U); // nothing covers them, so wrong names and sizes may show
}

// More than is checked before the mount: the check runs beside the first reads.
class DamagedBigImage : public FrontWorld {
protected:
    void SetUp() override {
        FrontWorld::SetUp();
        noiseImage(base(), 40);
    }

    std::string path() const { return base() + "/noise.dmg"; }
    std::string noise() const { return volumes() + "/Noise/noise"; }
    void damage() const {
        std::fstream file(path(), std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(30 * 1024 * 1024);
        file.put('\x55').put('\x55').put('\x55').put('\x55');
    }
    // 0, or why the byte cannot be read.
    int readError(std::uint64_t offset) const {
        const int fd = open(noise().c_str(), O_RDONLY | O_CLOEXEC);
        char byte = 0;
        const int error = fd >= 0 && pread(fd, &byte, 1, static_cast<off_t>(offset)) == 1 ? 0 : errno;
        close(fd);
        return error;
    }
};

TEST_F(DamagedBigImage, GivesReadErrorsOnceTheCheckBesideHasFailed) {
    damage();
    ASSERT_EQ(hdiutil({"mount", path()}).status, 0);
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(60), [&] { return readError(0) == EIO; }));
    EXPECT_EQ(readError(30 * kMebibyte), EIO);
}

TEST_F(DamagedBigImage, IsReportedAndNotAttachedAgain) {
    damage();
    ASSERT_EQ(hdiutil({"mount", path()}).status, 0);
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(60),
                            [&] { return hdiutil({"info"}).out.find("damage ") != std::string::npos; }));
    const Outcome again = hdiutil({"mount", path()});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.out, "");
    EXPECT_THAT(again.err, HasSubstr("attach failed - image data corrupted"));
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Noise"}).status, 0);
}

TEST_F(DamagedBigImage, IsRefusedByExtraction) {
    damage();
    const Outcome outcome = hdiutil(Way::kExtracted, {"mount", path()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("attach failed - image data corrupted"));
    EXPECT_EQ(leftovers(), Words{});
}

TEST_F(DamagedBigImage, StaysReadableWhenItIsNotDamaged) {
    ASSERT_EQ(hdiutil({"mount", path()}).status, 0);
    EXPECT_EQ(runProgram({"cmp", base() + "/source/noise", noise()}).status, 0);
    EXPECT_EQ(hdiutil({"info"}).out.find("damage "), std::string::npos);
}

// A file that shrinks under the daemon gives errors, not a signal.
TEST_F(DamagedBigImage, GivesReadErrorsAfterTheFileShrank) {
    ASSERT_EQ(hdiutil({"mount", "-noverify", path()}).status, 0);
    fs::resize_file(path(), kMebibyte);
    EXPECT_EQ(readError(20 * kMebibyte), EIO);
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Noise"}).status, 0);
}

} // namespace
} // namespace hdi::test
