#include "hdiutil/front/MountControl.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <memory>

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
        if (!isRoot()) {
            GTEST_SKIP() << "not run: interrupting a mount needs root, a tracer takes away the rights of the program "
                            "that mounts for others";
        }
        FrontWorld::SetUp();
        path_ = copyOf("hfsplus-gpt-zlib-stub-app.dmg");
    }

    void TearDown() override {
        if (isRoot()) {
            FrontWorld::TearDown();
        }
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

// Forty mebibytes that are written slowly, a mebibyte at a time.
class InterruptedExtraction : public FrontWorld {
protected:
    void SetUp() override {
        FrontWorld::SetUp();
        path_ = noiseImage(base(), 40);
        running_ = std::make_unique<Running>(
            withoutFuse(withInjection("pwrite64:delay_enter=200000", command({"mount", path_}))));
        tool_ = toolBelow(running_->pid());
        ASSERT_TRUE(holdsWithin(std::chrono::seconds(20), [&] { return hasBegun(); }));
    }

    const std::string& path() const { return path_; }
    pid_t tool() const { return tool_; }
    Running& running() { return *running_; }

private:
    // Something of the volume has been written.
    bool hasBegun() const {
        std::error_code error;
        for (const fs::directory_entry& data : fs::directory_iterator(temporary(), error)) {
            struct stat facts {};
            if (stat((data.path() / " incomplete/noise").c_str(), &facts) == 0 && facts.st_blocks > 0) {
                return true;
            }
        }
        return false;
    }

    std::string path_;
    std::unique_ptr<Running> running_;
    pid_t tool_ = -1;
};

class SignalledExtraction : public InterruptedExtraction, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, SignalledExtraction, testing::Values(SIGINT, SIGTERM, SIGHUP), nameOfSignal);

TEST_P(SignalledExtraction, SaysSoAndLeavesNothingBehind) {
    kill(tool(), GetParam());
    const Outcome outcome = running().finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - interrupted\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(InterruptedExtraction, IsTakenBackByDetachWhenItWasKilled) {
    kill(tool(), SIGKILL);
    EXPECT_EQ(running().finish().status, 128 + SIGKILL);
    EXPECT_EQ(leftovers().size(), 3U); // the records, the symlink and the data
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Noise"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_F(InterruptedExtraction, IsTakenBackByTheNextMountWhenItWasKilled) {
    kill(tool(), SIGKILL);
    running().finish();
    const Outcome outcome = hdiutil(Way::kExtracted, {"mount", path()});
    EXPECT_THAT(outcome.out, HasSubstr("\t/Volumes/Noise\n"));
    EXPECT_EQ(runProgram({"cmp", base() + "/source/noise", volumes() + "/Noise/noise"}).status, 0);
    EXPECT_EQ(leftovers().size(), 3U); // no second set of data
}

TEST_F(InterruptedExtraction, IsBusyForWhoeverDetachesMeanwhile) {
    const Outcome outcome = hdiutil({"detach", "/Volumes/Noise"});
    EXPECT_EQ(outcome.status, 16);
    EXPECT_EQ(outcome.err, "hdiutil: couldn't unmount \"disk2\" - Resource busy\n");
    EXPECT_THAT(hdiutil({"info"}).out, HasSubstr("method          : extracted (attaching)\n"));
    EXPECT_EQ(running().finish().status, 0);
}

class SignalledCreation : public FrontWorld, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(Signals, SignalledCreation, testing::Values(SIGINT, SIGTERM, SIGKILL), nameOfSignal);

// Not even half an image under another name.
TEST_P(SignalledCreation, LeavesNothingBehind) {
    noiseImage(base(), 20);
    fs::create_directories(base() + "/target");
    Running running(
        withInjection("write:delay_enter=100000", command({"create", "-srcfolder", base() + "/source", "-volname", "V",
                                                           "-format", "UDRO", base() + "/target/new.dmg"})));
    const pid_t tool = toolBelow(running.pid());
    // A megabyte of what is being written, wherever that is.
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(20), [&] {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(tool) + "/fd", error)) {
            const bool isOurs = fs::read_symlink(entry.path(), error).string().starts_with(base() + "/target/");
            if (isOurs && fs::file_size(entry.path(), error) > 1'000'000) {
                return true;
            }
        }
        return false;
    }));
    kill(tool, GetParam());
    EXPECT_EQ(running.finish().status, 128 + GetParam());
    EXPECT_TRUE(fs::is_empty(base() + "/target"));
}

// Whoever reads the tool's output waits for its end, and the daemon would keep that open.
TEST_F(InterruptedMount, FailsWhenTheDaemonCannotLeaveTheCallersOutput) {
    const Outcome outcome = runProgram(mounting("?dup2,?dup3:error=EMFILE:when=2"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "hdiutil: attach failed - Too many open files\n");
    EXPECT_TRUE(outcome.sawEnd);
    EXPECT_THAT(leftovers(), IsEmpty());
}

} // namespace
} // namespace hdi::test
