#include "hdiutil/front/FrontError.h"
#include "hdiutil/front/VolumesFolder.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;

class Folder : public FrontWorld {};

// Whoever may write there could show us other files than the image's.
TEST_F(Folder, IsRefusedWhenOthersMayWriteInIt) {
    const std::string runtime = base() + "/runtime";
    fs::create_directories(runtime + "/Volumes");
    fs::permissions(runtime, fs::perms::owner_all);
    fs::permissions(runtime + "/Volumes", fs::perms(0777));
    unsetenv("QN_SYSTEM_ROOT");
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    EXPECT_THROW(VolumesFolder::open(), FrontError);
    const Outcome outcome = hdiutil({"mount", image("hfsplus-gpt-zlib-stub-app.dmg")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    setenv("QN_SYSTEM_ROOT", (base() + "/root").c_str(), 1);
}

TEST_F(Folder, IsRefusedWhenItIsALink) {
    const std::string runtime = base() + "/runtime";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    fs::create_directory_symlink(temporary(), runtime + "/Volumes");
    unsetenv("QN_SYSTEM_ROOT");
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    EXPECT_THROW(VolumesFolder::open(), FrontError);
    setenv("QN_SYSTEM_ROOT", (base() + "/root").c_str(), 1);
}

TEST_F(Folder, MapsOnlyWhatIsBelowVolumes) {
    const VolumesFolder folder("/run/user/7/Volumes");
    EXPECT_EQ(folder.realPath("/Volumes/My Installer"), "/run/user/7/Volumes/My Installer");
    EXPECT_EQ(folder.realPath("/Volumes/X/"), "/run/user/7/Volumes/X");
    EXPECT_EQ(folder.realPath("/VolumesX/y"), "/VolumesX/y");
    EXPECT_EQ(folder.realPath("/other"), "/other");
}

} // namespace
} // namespace hdi::test
