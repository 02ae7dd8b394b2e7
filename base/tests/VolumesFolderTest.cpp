#include "base/VolumesFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace base {
namespace {

namespace fs = std::filesystem;

class Choice : public testing::Test {
protected:
    Choice() {
        std::string name = testing::TempDir() + "base-volumes-XXXXXX";
        runtime_ = ::mkdtemp(name.data());
    }
    ~Choice() override { fs::remove_all(runtime_); }

    const std::string& runtime() const { return runtime_; } // private
    static std::string inTmp(uid_t user) { return "/tmp/volumes-" + std::to_string(user); }

private:
    std::string runtime_;
};

TEST_F(Choice, LiesBelowTheSystemRootWhenThatIsSet) {
    EXPECT_EQ(chooseVolumesFolder("/some/root", runtime().c_str(), ::geteuid()).path, "/some/root/Volumes");
    EXPECT_EQ(chooseVolumesFolder("/some/root/", nullptr, 0).path, "/some/root/Volumes");
    EXPECT_EQ(chooseVolumesFolder("/", nullptr, 0).path, "/Volumes");
    EXPECT_FALSE(chooseVolumesFolder("/some/root", nullptr, 0).mustBePrivate);
}

TEST_F(Choice, LiesBelowTheRuntimeFolderWhenThatIsPrivate) {
    const VolumesFolder folder = chooseVolumesFolder(nullptr, runtime().c_str(), ::geteuid());
    EXPECT_EQ(folder.path, runtime() + "/Volumes");
    EXPECT_TRUE(folder.mustBePrivate);
    EXPECT_EQ(chooseVolumesFolder("relative", (runtime() + "/").c_str(), ::geteuid()).path, runtime() + "/Volumes");
}

TEST_F(Choice, LiesInTheTemporaryFolderOtherwise) {
    const uid_t user = ::geteuid();
    EXPECT_EQ(chooseVolumesFolder(nullptr, "relative", 1000).path, "/tmp/volumes-1000");
    EXPECT_EQ(chooseVolumesFolder("", nullptr, 1000).path, "/tmp/volumes-1000");
    EXPECT_EQ(chooseVolumesFolder(nullptr, runtime().c_str(), user + 1).path, inTmp(user + 1));
    fs::permissions(runtime(), fs::perms(0755));
    EXPECT_EQ(chooseVolumesFolder(nullptr, runtime().c_str(), user).path, inTmp(user));
    EXPECT_TRUE(chooseVolumesFolder(nullptr, nullptr, user).mustBePrivate);
}

TEST_F(Choice, DoesNotFollowALinkToARuntimeFolder) {
    const std::string link = runtime() + "/link";
    fs::create_directory(runtime() + "/folder");
    fs::permissions(runtime() + "/folder", fs::perms::owner_all);
    fs::create_symlink(runtime() + "/folder", link);
    EXPECT_EQ(chooseVolumesFolder(nullptr, link.c_str(), ::geteuid()).path, inTmp(::geteuid()));
    EXPECT_EQ(chooseVolumesFolder(nullptr, (link + "/").c_str(), ::geteuid()).path, inTmp(::geteuid()));
}

TEST_F(Choice, FollowsTheEnvironment) {
    ::setenv("QN_SYSTEM_ROOT", "/some/root", 1);
    EXPECT_EQ(volumesFolder().path, "/some/root/Volumes");
    ::unsetenv("QN_SYSTEM_ROOT");
    ::setenv("XDG_RUNTIME_DIR", runtime().c_str(), 1);
    EXPECT_EQ(volumesFolder().path, runtime() + "/Volumes");
}

} // namespace
} // namespace base
