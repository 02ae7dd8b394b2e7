#include "base/Files.h"
#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/MountControl.h"
#include "hdiutil/tests/front/FrontWorld.h"

#include <gmock/gmock.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

namespace hdi::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

class Detach : public BothWays {
protected:
    void mountApp() {
        const Outcome outcome = mount({"mount", copyOf("hfsplus-gpt-zlib-stub-app.dmg")});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
    }
    std::string folder() const { return volumes() + "/Transmission"; }
    std::string recordPath() const { return volumes() + "/.hdiutil/disk2"; }
    AttachRecord record() const { return parseRecord(base::readSmallFile(recordPath()).value()).value(); }
};
INSTANTIATE_TEST_SUITE_P(Both, Detach, testing::Values(Way::kFuse, Way::kExtracted), nameOfWay);

TEST_P(Detach, LeavesNothingBehind) {
    mountApp();
    const Outcome outcome = hdiutil({"detach", "/Volumes/Transmission"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "\"disk2\" ejected.\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Detach, EndsTheDaemon) {
    mountApp();
    const base::ProcessIdentity process = record().process;
    hdiutil({"detach", "/Volumes/Transmission"});
    EXPECT_FALSE(process.isAlive());
}

TEST_P(Detach, TakesEveryNameOfTheVolume) {
    for (const std::string& target :
         {std::string("/Volumes/Transmission"), std::string("/Volumes/Transmission/"), folder(), folder() + "/",
          base() + "/root/../root/Volumes/Transmission", std::string("disk2"), std::string("/dev/disk2"),
          std::string("disk2s1"), std::string("/dev/disk2s1")}) {
        const std::string path = base() + "/image.dmg";
        fs::copy_file(image("hfsplus-gpt-zlib-stub-app.dmg"), path, fs::copy_options::overwrite_existing);
        ASSERT_EQ(mount({"mount", path}).status, 0);
        EXPECT_EQ(hdiutil({"detach", target}).status, 0) << target;
        EXPECT_THAT(leftovers(), IsEmpty()) << target;
    }
}

TEST_P(Detach, TakesTheFolderThatASymlinkLeadsTo) {
    mountApp();
    EXPECT_EQ(hdiutil({"detach", fs::canonical(folder()).string()}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Detach, IsBusyWhileAFileIsOpen) {
    mountApp();
    {
        const std::ifstream open(folder() + "/Transmission.app/Contents/Info.plist");
        ASSERT_TRUE(open.is_open());
        const Outcome outcome = hdiutil({"detach", "/Volumes/Transmission"});
        EXPECT_EQ(outcome.status, 16);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "hdiutil: couldn't unmount \"disk2\" - Resource busy\n");
        EXPECT_TRUE(fs::exists(folder() + "/Transmission.app"));
    }
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
}

TEST_P(Detach, IsBusyWhileAProcessStandsInIt) {
    mountApp();
    const fs::path before = fs::current_path();
    fs::current_path(folder() + "/Transmission.app");
    const Outcome outcome = hdiutil({"detach", "/Volumes/Transmission"});
    fs::current_path(before);
    EXPECT_EQ(outcome.status, 16);
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
}

TEST_P(Detach, IsNotBusyWhenForced) {
    mountApp();
    const std::ifstream open(folder() + "/Transmission.app/Contents/Info.plist");
    const Outcome outcome = hdiutil({"detach", "-force", "/Volumes/Transmission"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Detach, UnmountTakesOneVolumeByItsDevice) {
    mountApp();
    const Outcome outcome = hdiutil({"unmount", "/dev/disk2s1"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "\"/dev/disk2s1\" unmounted successfully.\n");
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Detach, FailsForWhatIsNotAttached) {
    for (const std::string& target : {std::string("/Volumes/Nothing"), std::string("disk7"),
                                      std::string("/dev/disk2s9"), base(), std::string("/")}) {
        const Outcome outcome = hdiutil({"detach", target});
        EXPECT_EQ(outcome.status, 1) << target;
        EXPECT_EQ(outcome.err, "hdiutil: detach failed - No such file or directory\n");
    }
}

TEST_P(Detach, CleansUpAfterARestart) {
    mountApp();
    AttachRecord old = record();
    if (GetParam() == Way::kFuse) { // a restart takes the mount and the daemon
        kill(old.process.pid, SIGKILL);
        ASSERT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return !old.process.isAlive(); }));
        unmountFuse(folder(), UnmountWay::kDetached);
    }
    old.boot = "01234567-89ab-cdef-0123-456789abcdef";
    std::ofstream(recordPath(), std::ios::trunc) << serialize(old);
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(Detach, MountsAnewAfterARestartUnderTheSameName) {
    mountApp();
    AttachRecord old = record();
    if (GetParam() == Way::kFuse) {
        kill(old.process.pid, SIGKILL);
        ASSERT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return !old.process.isAlive(); }));
        unmountFuse(folder(), UnmountWay::kDetached);
    }
    old.boot = "01234567-89ab-cdef-0123-456789abcdef";
    std::ofstream(recordPath(), std::ios::trunc) << serialize(old);
    EXPECT_THAT(mount({"mount", base() + "/hfsplus-gpt-zlib-stub-app.dmg"}).out,
                HasSubstr("\t/Volumes/Transmission\n"));
    EXPECT_TRUE(fs::exists(folder() + "/Transmission.app"));
}

TEST_P(Detach, LeavesAProcessAloneThatHasTheDaemonsNumberNow) {
    mountApp();
    AttachRecord old = record();
    if (GetParam() == Way::kFuse) {
        kill(old.process.pid, SIGKILL);
    }
    old.process = base::ProcessIdentity::self();
    old.process.started -= 1;
    std::ofstream(recordPath(), std::ios::trunc) << serialize(old);
    EXPECT_EQ(hdiutil({"detach", "-force", "/Volumes/Transmission"}).status, 0); // and we are still here
    EXPECT_THAT(leftovers(), IsEmpty());
}

class DetachExtracted : public Detach {};
INSTANTIATE_TEST_SUITE_P(Only, DetachExtracted, testing::Values(Way::kExtracted), nameOfWay);

TEST_P(DetachExtracted, WorksAfterTheFolderWasDeletedByHand) {
    mountApp();
    fs::remove_all(fs::canonical(folder()));
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(DetachExtracted, WorksAfterTheSymlinkWasDeletedByHand) {
    mountApp();
    fs::remove(folder());
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(DetachExtracted, MountsAnewAfterTheFolderWasDeletedByHand) {
    mountApp();
    fs::remove_all(fs::canonical(folder()));
    EXPECT_EQ(mount({"mount", base() + "/hfsplus-gpt-zlib-stub-app.dmg"}).status, 0);
    EXPECT_TRUE(fs::exists(folder() + "/Transmission.app"));
}

TEST_P(DetachExtracted, IsBusyWhileAProgramOfItRuns) {
    const std::string folder = base() + "/place";
    ASSERT_EQ(mount({"mount", "-mountpoint", folder, copyOf("hfsplus-gpt-zlib-stub-app.dmg")}).status, 0);
    fs::copy_file("/bin/sleep", folder + "/sleep");
    const std::string path = folder + "/sleep";
    std::string number = "60";
    std::string name = "sleep";
    char* words[] = {name.data(), number.data(), nullptr};
    pid_t pid = 0;
    ASSERT_EQ(posix_spawn(&pid, path.c_str(), nullptr, nullptr, words, environ), 0);
    EXPECT_EQ(hdiutil({"detach", "disk2"}).status, 16);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(hdiutil({"detach", "disk2"}).status, 0);
}

class DetachFuse : public Detach {};
INSTANTIATE_TEST_SUITE_P(Only, DetachFuse, testing::Values(Way::kFuse), nameOfWay);

TEST_P(DetachFuse, CleansUpAfterTheDaemonWasKilled) {
    mountApp();
    const base::ProcessIdentity process = record().process;
    kill(process.pid, SIGKILL);
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return !process.isAlive(); }));
    std::error_code error;
    const fs::directory_iterator listing(folder(), error);
    ASSERT_TRUE(error.value() == ENOTCONN || error.value() == ECONNABORTED) << error.message();
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
    EXPECT_THAT(leftovers(), IsEmpty());
}

TEST_P(DetachFuse, MountsAnewAfterTheDaemonWasKilledAndTheRecordsDeleted) {
    mountApp();
    const base::ProcessIdentity process = record().process;
    kill(process.pid, SIGKILL);
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return !process.isAlive(); }));
    fs::remove_all(volumes() + "/.hdiutil");
    const Outcome outcome = mount({"mount", base() + "/hfsplus-gpt-zlib-stub-app.dmg"});
    EXPECT_THAT(outcome.out, HasSubstr("\t/Volumes/Transmission\n"));
    EXPECT_TRUE(fs::exists(folder() + "/Transmission.app"));
}

TEST_P(DetachFuse, MountsAnewAfterTheDaemonWasKilled) {
    mountApp();
    const base::ProcessIdentity process = record().process;
    kill(process.pid, SIGKILL);
    ASSERT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return !process.isAlive(); }));
    const Outcome outcome = mount({"mount", base() + "/hfsplus-gpt-zlib-stub-app.dmg"});
    EXPECT_THAT(outcome.out, HasSubstr("\t/Volumes/Transmission\n"));
    EXPECT_TRUE(fs::exists(folder() + "/Transmission.app"));
}

TEST_P(DetachFuse, WorksAfterTheRecordsWereDeletedByHand) {
    mountApp();
    fs::remove_all(volumes() + "/.hdiutil");
    EXPECT_EQ(hdiutil({"detach", "/Volumes/Transmission"}).status, 0);
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return leftovers().empty(); }));
}

TEST_P(DetachFuse, IsNotNeededAfterAnOrdinaryUnmount) {
    mountApp();
    ASSERT_EQ(runProgram({"umount", folder()}).status, 0);
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return leftovers().empty(); }));
}

TEST_P(DetachFuse, IsNotNeededAfterTheDaemonWasToldToEnd) {
    mountApp();
    kill(record().process.pid, SIGTERM);
    EXPECT_TRUE(holdsWithin(std::chrono::seconds(10), [&] { return leftovers().empty(); }));
}

} // namespace
} // namespace hdi::test
