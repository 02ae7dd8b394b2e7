#include "hdiutil/tests/front/FrontWorld.h"
#include "hdiutil/tests/volume/VolumeTree.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// The same life of an image in every situation that a user may be in: root or not, with /dev/fuse, without it, or with
// one that may not be opened, and inside a user namespace. Each runs in a mount namespace of its own, where /dev/fuse
// is a node or a file made for the purpose.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct World {
    const char* name;
    const char* device;  // what stands at /dev/fuse: "open" to all, "closed" to others than root, "none"
    const char* wrapper; // of the scenario's shell
    Way expected;
};

void PrintTo(const World& world, std::ostream* out) {
    *out << world.name;
}

constexpr const char* kAsNobody = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
constexpr const char* kAsNobodyInUserNamespace =
    "setpriv --reuid=65534 --regid=65534 --clear-groups unshare -Urm --propagation slave ";

const World kWorlds[] = {
    {"RootWithFuse", "closed", "", Way::kFuse},
    {"RootWithoutFuse", "none", "", Way::kExtracted},
    {"UserWithFuse", "open", kAsNobody, Way::kFuse},
    {"UserWithAClosedDevice", "closed", kAsNobody, Way::kExtracted},
    {"UserWithoutFuse", "none", kAsNobody, Way::kExtracted},
    {"UserNamespaceWithFuse", "open", kAsNobodyInUserNamespace, Way::kFuse},
    {"UserNamespaceWithoutFuse", "none", kAsNobodyInUserNamespace, Way::kExtracted},
};

class InWorld : public FrontWorld, public testing::WithParamInterface<World> {
protected:
    void SetUp() override {
        if (!isRoot()) {
            GTEST_SKIP() << "not run: " << GetParam().name
                         << " needs root, to act as another user and to make a /dev/fuse of its own";
        }
        FrontWorld::SetUp();
        fs::permissions(base(), fs::perms::all);
        for (const std::string& folder : {base() + "/root", temporary(), base() + "/out"}) {
            fs::create_directories(folder);
            fs::permissions(folder, fs::perms::all);
        }
        fs::copy_file(HDIUTIL_PROGRAM, tool()); // where it was built may be closed to others than root
    }

    std::string tool() const { return base() + "/hdiutil"; }

    void TearDown() override {
        if (isRoot()) {
            FrontWorld::TearDown();
        }
    }

    // Runs a scenario with $H for the tool; the device node lies on the real disk, a tmpfs may be mounted nodev. The
    // leak checker's options name a file that lies where the tool was built.
    Outcome run(const std::string& scenario) const {
        const World& world = GetParam();
        const std::string device = base() + "/device";
        std::string before = "set -e\n";
        before += world.device == std::string("none") ? "touch " + device + "\n" : "mknod " + device + " c 10 229\n";
        before += "chmod " + std::string(world.device == std::string("open") ? "666 " : "600 ") + device + "\n";
        before += "mount --bind " + device + " /dev/fuse\n";
        before += "exec " + std::string(world.wrapper) + "sh -c " +
                  shellWord("set -e; unset LSAN_OPTIONS; H=" + tool() + "; cd " + base() + "\n" + scenario);
        return runProgram({"unshare", "-m", "--propagation", "slave", "sh", "-c", before});
    }
};
std::string nameOfWorld(const testing::TestParamInfo<World>& instance) {
    return instance.param.name;
}
INSTANTIATE_TEST_SUITE_P(Table, InWorld, testing::ValuesIn(kWorlds), nameOfWorld);

// What only a daemon can do or suffer.
class InWorldWithFuse : public InWorld {};
std::vector<World> worldsWithFuse() {
    std::vector<World> worlds;
    std::copy_if(std::begin(kWorlds), std::end(kWorlds), std::back_inserter(worlds),
                 [](const World& world) { return world.expected == Way::kFuse; });
    return worlds;
}
INSTANTIATE_TEST_SUITE_P(Table, InWorldWithFuse, testing::ValuesIn(worldsWithFuse()), nameOfWorld);

TEST_P(InWorld, MountsShowsAndDetaches) {
    const std::string path = copyOf("hfsplus-gpt-zlib-links.dmg", "image.dmg");
    const Outcome outcome = run("$H mount image.dmg\n"
                                "cp -a root/Volumes/hfsplus_test/. out/tree\n"
                                "$H info | grep ^method\n"
                                "$H detach /Volumes/hfsplus_test\n"
                                "ls -A root/Volumes tmp\n");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const std::string method = GetParam().expected == Way::kFuse ? "fuse" : "extracted";
    EXPECT_EQ(outcome.out, "/dev/disk2          \tGUID_partition_scheme          \t\n"
                           "/dev/disk2s1        \tApple_HFS                      \t/Volumes/hfsplus_test\n"
                           "method          : " +
                               method + "\n\"disk2\" ejected.\nroot/Volumes:\n\ntmp:\n");
    EXPECT_EQ(withoutLinkModes(readFolder(base() + "/out/tree")), withoutLinkModes(readWith7z(path, base() + "/7z")));
}

TEST_P(InWorld, AnswersBusyAndThenDetaches) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    const Outcome outcome = run("$H mount image.dmg >out/table\n"
                                "exec 9<root/Volumes/Transmission/Transmission.app/Contents/Info.plist\n"
                                "$H detach /Volumes/Transmission || echo status $?\n"
                                "exec 9<&-\n"
                                "cd root/Volumes/Transmission/Transmission.app\n"
                                "$H detach disk2 || echo status $?\n"
                                "cd " +
                                base() +
                                "\n"
                                "$H detach disk2\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "status 16\nstatus 16\n\"disk2\" ejected.\n");
    EXPECT_EQ(outcome.err, "hdiutil: couldn't unmount \"disk2\" - Resource busy\n"
                           "hdiutil: couldn't unmount \"disk2\" - Resource busy\n");
}

TEST_P(InWorld, IsForcedToDetach) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    const Outcome outcome = run("$H mount image.dmg >out/table\n"
                                "cd root/Volumes/Transmission/Transmission.app\n"
                                "$H detach -force disk2\n"
                                "ls -A " +
                                volumes() + " " + temporary() + "\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "\"disk2\" ejected.\n" + volumes() + ":\n\n" + temporary() + ":\n");
}

TEST_P(InWorldWithFuse, CleansUpAfterTheDaemonWasKilled) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    const Outcome outcome = run("$H mount image.dmg >out/table\n"
                                "kill -9 $($H info | sed -n 's/^process ID *: //p')\n"
                                "$H detach /Volumes/Transmission\n"
                                "ls -A root/Volumes tmp\n"
                                "grep -c \"$PWD.*fuse.hdiutil\" /proc/self/mountinfo || true\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "\"disk2\" ejected.\nroot/Volumes:\n\ntmp:\n0\n");
}

TEST_P(InWorldWithFuse, IsReadOnlyAndTrustsNothing) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    const Outcome outcome = run("$H mount image.dmg >out/table\n"
                                "grep fuse.hdiutil /proc/self/mountinfo | cut -d' ' -f6\n"
                                "touch root/Volumes/Transmission/new || true\n"
                                "$H detach disk2\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("ro,nosuid,nodev"));
    EXPECT_THAT(outcome.err, HasSubstr("Read-only file system"));
}

TEST_P(InWorld, RefusesADamagedImage) {
    const std::string path = copyOf("hfsplus-apm-bzip2-licence.dmg", "image.dmg");
    std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).seekp(600000).write("abcdefgh", 8);
    const Outcome outcome = run("$H mount image.dmg || echo status $?\nls -A root tmp\n");
    EXPECT_THAT(outcome.err, HasSubstr("hdiutil: attach failed - image data corrupted"));
    EXPECT_THAT(outcome.out, testing::StartsWith("status 1\nroot:\n"));
}

// Without a system root the volumes lie below the runtime folder, or below /tmp when there is none.
TEST_P(InWorld, UsesTheRuntimeFolderOfItsUser) {
    copyOf("hfsplus-gpt-zlib-stub-app.dmg", "image.dmg");
    const Outcome outcome = run("unset QN_SYSTEM_ROOT\n"
                                "mkdir -m 700 out/runtime; export XDG_RUNTIME_DIR=$PWD/out/runtime\n"
                                "$H mount image.dmg >out/table\n"
                                "ls out/runtime/Volumes/Transmission\n"
                                "$H detach /Volumes/Transmission\n"
                                "stat -c '%a' out/runtime/Volumes\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "Transmission.app\n\"disk2\" ejected.\n700\n");
}

} // namespace
} // namespace hdi::test
