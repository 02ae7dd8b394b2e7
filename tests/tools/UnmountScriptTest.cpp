#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

class UnmountScript : public FrontWorld {
protected:
    static Outcome run(const std::string& volume) { return runProgram({"/bin/sh", UNMOUNT_SCRIPT, volume}); }

    void mountApp() { ASSERT_EQ(hdiutil({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")}).status, 0); }

    // A tool that only notes how it was called.
    void makeTool(const std::string& path) const {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << "#!/bin/sh\necho \"$0 $*\" > " << base() << "/called\n";
        fs::permissions(path, fs::perms::owner_all);
    }
    std::string called() const {
        std::ifstream file(base() + "/called");
        std::string line;
        std::getline(file, line);
        return line;
    }
};

TEST_F(UnmountScript, DetachesARealVolumeWithTheToolFromPath) {
    mountApp();
    setenv("PATH", (fs::path(HDIUTIL_PROGRAM).parent_path().string() + ":" + std::getenv("PATH")).c_str(), 1);
    EXPECT_EQ(run("/Volumes/Transmission").status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(UnmountScript, DetachesARealVolumeWithTheToolBelowTheSystemRoot) {
    mountApp();
    fs::create_directories(base() + "/root/usr/bin");
    fs::create_symlink(HDIUTIL_PROGRAM, base() + "/root/usr/bin/hdiutil");
    EXPECT_EQ(run("/Volumes/Transmission").status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(UnmountScript, PrefersTheSystemRoot) {
    makeTool(base() + "/root/usr/bin/hdiutil");
    makeTool(base() + "/bin/hdiutil");
    setenv("PATH", (base() + "/bin:" + std::getenv("PATH")).c_str(), 1);
    EXPECT_EQ(run("/Volumes/My Installer 1").status, 0);
    EXPECT_EQ(called(), base() + "/root/usr/bin/hdiutil detach /Volumes/My Installer 1");
}

TEST_F(UnmountScript, TellsABusyVolumeByItsStatus) {
    mountApp();
    setenv("PATH", (fs::path(HDIUTIL_PROGRAM).parent_path().string() + ":" + std::getenv("PATH")).c_str(), 1);
    const std::ifstream open(volumes() + "/Transmission/Transmission.app/Contents/Info.plist");
    EXPECT_EQ(run("/Volumes/Transmission").status, 16);
}

TEST_F(UnmountScript, RefusesToRunWithoutAVolume) {
    EXPECT_EQ(runProgram({"/bin/sh", UNMOUNT_SCRIPT}).status, 64);
}

} // namespace
} // namespace hdi::test
