#include "tests/hdiutil/front/FrontWorld.h"

#include "hdiutil/front/MountControl.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

// What is left when something dies in the middle: nothing.
namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

std::string nameOfSignal(const testing::TestParamInfo<int>& instance) {
    return sigabbrev_np(instance.param);
}

class InterruptedMount : public FrontWorld {
protected:
    void SetUp() override {
        FrontWorld::SetUp();
        path_ = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    }

    std::string path() const { return path_; }
    std::string folder() const { return volumes() + "/Transmission"; }
    bool isShown() const { return fs::exists(folder() + "/Transmission.app"); }

    // The tool attaching the image; what is injected happens in its daemon.
    Words mounting(const std::string& injection) const { return withInjection(injection, command({"mount", path()})); }

private:
    std::string path_;
};

class SignalledMount : public InterruptedMount, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, SignalledMount, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL), nameOfSignal);

// The daemon notices that nobody waits for it any more.
TEST_P(SignalledMount, LeavesNothingBehind) {
    Running tool(mounting("mount:delay_enter=1000000"));
    const pid_t front = toolBelow(tool.pid());
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(20), [&] { return fs::exists(folder()); }));
    kill(front, GetParam());
    const Outcome outcome = tool.finish(); // when the daemon, too, has ended
    EXPECT_TRUE(outcome.sawEnd);
    EXPECT_EQ(outcome.status, 128 + GetParam());
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(leftovers(), IsEmpty());
}

// Whoever gives up and tries again must not be shown the first try's volume, which goes at once.
TEST_F(InterruptedMount, GivesTheNextOneAVolumeThatStays) {
    Running first(mounting("rename:delay_exit=1000000"));
    const pid_t front = toolBelow(first.pid());
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(20), [&] { return fs::exists(volumes() + "/.hdiutil/disk2"); }));
    kill(front, SIGINT);
    const Outcome second = hdiutil({"mount", path()});
    EXPECT_EQ(second.status, 0);
    EXPECT_TRUE(first.finish().sawEnd);
    EXPECT_THAT(second.out, HasSubstr("\t/Volumes/Transmission\n"));
    EXPECT_TRUE(isShown());
}

constexpr const char* kDaemonGone = "hdiutil: attach failed - the program that serves the image ended unexpectedly\n";

TEST_F(InterruptedMount, LeavesNothingWhenTheDaemonDiesBeforeItMounts) {
    const Outcome outcome = runProgram(mounting("mount:signal=KILL"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, kDaemonGone);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(InterruptedMount, LeavesNothingWhenTheDaemonDiesBeforeTheMountAnswers) {
    Running tool(mounting("mount:delay_exit=1000000"));
    const pid_t front = toolBelow(tool.pid());
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(20), [&] { return isMounted(folder()); }));
    kill(toolBelow(front), SIGKILL);
    const Outcome outcome = tool.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, testing::EndsWith(kDaemonGone)); // the tracer may have a line of its own
    EXPECT_FALSE(isMounted(folder()));
    EXPECT_THAT(leftovers(), IsEmpty());
}

} // namespace
} // namespace hdi::test
