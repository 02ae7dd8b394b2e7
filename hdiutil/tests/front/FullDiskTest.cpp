#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

// On real file systems that are too small, in a mount namespace of the case's own.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;

class FullDisk : public FrontWorld {
protected:
    // Runs a shell script with $H for the tool and these options for a tmpfs on the folder.
    Outcome runOn(const std::string& folder, const std::string& options, const std::string& script, bool fuse) const {
        const std::string whole = "H=" + shellWord(HDIUTIL_PROGRAM) + "; cd " + shellWord(base()) +
                                  "; mount -t tmpfs -o " + options + " none " + shellWord(folder) + "; " + script;
        const Words words = {"sh", "-c", whole};
        return fuse ? runProgram(inMountNamespace(words)) : runProgram(withoutFuse(words));
    }
};

TEST_F(FullDisk, EndsAnExtractionWhoseContentsDoNotFit) {
    const std::string image = noiseImage(base(), 40);
    const Outcome outcome =
        runOn(temporary(), "size=8m", "$H mount noise.dmg; echo status $?; ls -A tmp root/Volumes", false);
    EXPECT_EQ(outcome.out, "status 1\nroot/Volumes:\n\ntmp:\n");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - No space left on device\n");
}

TEST_F(FullDisk, EndsAnExtractionWithTooManyFiles) {
    fs::create_directories(base() + "/source/folder");
    for (int i = 0; i < 60; ++i) {
        std::ofstream(base() + "/source/folder/" + std::to_string(i)) << i;
    }
    ASSERT_EQ(hdiutil({"create", "-srcfolder", base() + "/source", "-volname", "Many", base() + "/many.dmg"}).status,
              0);
    const Outcome outcome =
        runOn(temporary(), "nr_inodes=30", "$H mount many.dmg; echo status $?; ls -A tmp root/Volumes", false);
    EXPECT_EQ(outcome.out, "status 1\nroot/Volumes:\n\ntmp:\n");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - No space left on device\n");
}

// Whatever it is that can no longer be made: the folder, its lock, the mount point or the record.
TEST_F(FullDisk, LeavesNothingWhenTheVolumesFolderIsFull) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    for (const bool fuse : {true, false}) {
        int failures = 0;
        for (int inodes = 2; inodes <= 6; ++inodes) {
            const Outcome outcome = runOn(base() + "/root", "nr_inodes=" + std::to_string(inodes),
                                          "$H mount image.dmg >/dev/null; echo status $?; $H detach disk2 >/dev/null "
                                          "2>&1; find root tmp -mindepth 1; grep -c \"$PWD/root/\" "
                                          "/proc/self/mountinfo",
                                          fuse);
            SCOPED_TRACE(outcome.err);
            if (outcome.out.starts_with("status 1\n")) {
                ++failures;
                EXPECT_EQ(outcome.out, "status 1\nroot/Volumes\n0\n");
                EXPECT_THAT(outcome.err, testing::HasSubstr("No space left on device"));
            } else {
                EXPECT_EQ(outcome.out, "status 0\nroot/Volumes\n0\n");
            }
        }
        EXPECT_EQ(failures, fuse ? 4 : 5); // what is extracted is noted twice
    }
}

TEST_F(FullDisk, LeavesNoImageThatCouldNotBeWritten) {
    noiseImage(base(), 4);
    fs::create_directories(base() + "/small");
    const Outcome outcome = runOn(base() + "/small", "size=2m",
                                  "$H create -srcfolder source -volname V -format UDRO small/new.dmg; echo status $?; "
                                  "ls -A small",
                                  true);
    EXPECT_EQ(outcome.out, "status 1\n");
    EXPECT_EQ(outcome.err, "hdiutil: create failed - small/new.dmg: No space left on device\n");
}

} // namespace
} // namespace hdi::test
