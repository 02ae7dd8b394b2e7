#include "platform/Bundle.h"
#include "platform/RunningApplications.h"
#include "platform/linux/CopyRegistry.h"
#include "platform/linux/ProcessTable.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/ProgramBundle.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Of this case alone: cases run side by side, and processes are looked for in the whole machine.
const QString kIdentifier = u"com.example.copies."_s + QFileInfo(test::folder()).fileName();

const QString kScriptIdentifier = u"com.example.script."_s + QFileInfo(test::folder()).fileName();

// An application that is a script; its path.
std::string putScript(const QByteArray& commands) {
    const QString contents = test::folder() + u"/Script.app/Contents"_s;
    test::writeFile(contents + u"/Info.plist"_s, "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                                                     kScriptIdentifier.toUtf8() + "</string></dict></plist>");
    const QString script = contents + u"/MacOS/Script"_s;
    test::writeFile(script, "#!/bin/sh\n" + commands);
    QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner);
    return script.toStdString();
}

std::string putProgram() {
    return putIntoBundle(COPY_PROGRAM, u"Copy"_s, kIdentifier);
}

// What a copy printed, as numbers; waits for it.
std::vector<pid_t> seenBy(ChildProcess& copy) {
    std::vector<pid_t> processes;
    for (const QString& number : QString::fromStdString(copy.readLine()).split(u' ', Qt::SkipEmptyParts)) {
        processes.push_back(number.toInt());
    }
    return processes;
}

using Processes = std::vector<pid_t>;

// Work for every core, so that what is started meanwhile comes on slowly.
class BusyCores {
public:
    BusyCores() {
        for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
            threads_.emplace_back([this] {
                while (!ended_) {
                }
            });
        }
    }
    BusyCores(const BusyCores&) = delete;
    BusyCores& operator=(const BusyCores&) = delete;
    ~BusyCores() {
        ended_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

private:
    std::atomic<bool> ended_ = false;
    std::vector<std::thread> threads_;
};

} // namespace

TEST(RunningCopies, AreListedNewestFirstWithTheCallerAtTheFront) {
    const std::string program = putProgram();
    ChildProcess first({program});
    EXPECT_EQ(seenBy(first), Processes({first.process()}));
    ChildProcess second({program});
    EXPECT_EQ(seenBy(second), Processes({second.process(), first.process()}));
}

TEST(RunningCopies, LeaveTheListWhenTheyEndHoweverThatHappens) {
    const std::string program = putProgram();
    ChildProcess killed({program});
    seenBy(killed);
    ::kill(killed.process(), SIGKILL);
    killed.finish();
    ChildProcess ended({program});
    EXPECT_EQ(seenBy(ended), Processes({ended.process()}));
    ended.finish();
    ChildProcess last({program});
    EXPECT_EQ(seenBy(last), Processes({last.process()}));
}

TEST(RunningCopies, OfOtherIdentifiersAreOthers) {
    const std::string program = putProgram();
    ChildProcess copy({program});
    seenBy(copy);
    test::setInfo(u"CFBundleIdentifier"_s, u"com.example.other"_s);
    EXPECT_EQ(platform::registerAndListCopies(u"com.example.other"_s), Processes({::getpid()}));
}

TEST(RunningCopies, ListThisProcessOnceHoweverOftenItAsks) {
    test::setInfo(u"CFBundleIdentifier"_s, u"com.example.self"_s);
    for (int count = 0; count < 3; ++count) {
        EXPECT_EQ(RunningApplication::withBundleIdentifier(u"com.example.self"_s).size(), 1U);
        EXPECT_EQ(platform::registerAndListCopies(u"com.example.self"_s), Processes({::getpid()}));
    }
}

TEST(RunningCopies, FindEachOtherInAPrivateFolderOfTmpWithoutARuntimeFolder) {
    const std::string program = putProgram();
    test::unsetEnvironment("XDG_RUNTIME_DIR");
    ChildProcess first({program});
    seenBy(first);
    ChildProcess second({program});
    EXPECT_EQ(seenBy(second), Processes({second.process(), first.process()}));
    const QString folder = u"/tmp/runtime-%1"_s.arg(::geteuid());
    struct stat status {};
    ASSERT_EQ(::lstat(QFile::encodeName(folder).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    EXPECT_TRUE(QFile::remove(folder + u'/' + kIdentifier + u".copies"_s));
}

TEST(RunningCopies, AreNotInheritedByChildren) {
    const std::string program = putProgram();
    test::setInfo(u"CFBundleIdentifier"_s, kIdentifier);
    ASSERT_EQ(RunningApplication::withBundleIdentifier(kIdentifier).size(), 1U);
    ChildProcess child({program}); // of this registered process
    EXPECT_EQ(seenBy(child), Processes({child.process(), ::getpid()}));
}

// Looking for others first and registering after it would let both of a pair stay or both end.
TEST(RunningCopies, OfWhichTwoStartAtOnceExactlyOneStays) {
    const std::string program = putProgram();
    constexpr int kPairs = 200;
    for (int pair = 0; pair < kPairs; ++pair) {
        ChildProcess one({program});
        ChildProcess other({program});
        const Processes seenByOne = seenBy(one);
        const Processes seenByOther = seenBy(other);
        const bool oneStays = seenByOne.size() == 1;
        ASSERT_NE(oneStays, seenByOther.size() == 1) << "pair " << pair;
        const ChildProcess& earlier = oneStays ? one : other;
        const Processes& seenByLater = oneStays ? seenByOther : seenByOne;
        ASSERT_EQ(seenByLater.size(), 2U) << "pair " << pair;
        EXPECT_EQ(seenByLater[1], earlier.process()) << "pair " << pair;
    }
}

TEST(RunningCopies, AreFoundAtOnceInAListThatIsAHole) {
    const QString list = test::folder() + u"/runtime/com.example.hole.copies"_s;
    test::writeFile(list, "");
    ASSERT_EQ(::truncate(list.toUtf8().constData(), off_t{1} << 30), 0);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(platform::registerAndListCopies(u"com.example.hole"_s), std::vector<pid_t>{::getpid()});
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST(RunningCopies, StandAloneWithAConsoleLineWhenTheirListCannotBeOpened) {
    test::setInfo(u"CFBundleIdentifier"_s, u"com.example.alone"_s);
    const QString registry = test::folder() + u"/runtime/com.example.alone.copies"_s;
    ASSERT_TRUE(std::filesystem::create_directory(registry.toStdString()));
    std::size_t count = 0;
    const QStringList lines = test::consoleLinesOf(
        [&count] { count = RunningApplication::withBundleIdentifier(u"com.example.alone"_s).size(); });
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(lines, QStringList(u"Other copies cannot be found: the list in the runtime folder cannot be opened."_s));
}

TEST(RunningApplications, OfAnotherIdentifierAreFoundByTheirExecutableNewestFirst) {
    const std::string program = putProgram();
    ChildProcess first({program});
    seenBy(first);
    test::setEnvironment("XDG_RUNTIME_DIR", test::home().toUtf8()); // a list of its own, so that the next stays too
    ChildProcess second({program});
    seenBy(second);
    EXPECT_EQ(RunningApplication::withBundleIdentifier(kIdentifier).size(), 2U);
    EXPECT_EQ(platform::processesWithBundleIdentifier(kIdentifier), Processes({second.process(), first.process()}));
}

TEST(RunningApplications, AreFoundByTheScriptThatAnInterpreterRuns) {
    ChildProcess running({putScript("echo ready\nread -r line\n")});
    seenBy(running);
    EXPECT_EQ(platform::processesWithBundleIdentifier(kScriptIdentifier), Processes({running.process()}));
    running.finish();
    EXPECT_TRUE(RunningApplication::withBundleIdentifier(kScriptIdentifier).empty());
}

TEST(RunningApplications, AreNotTheProcessesThatAnApplicationMadeOfItself) {
    ChildProcess running({putScript("(echo ready; read -r line)\n:\n")});
    seenBy(running);
    EXPECT_EQ(platform::processesWithBundleIdentifier(kScriptIdentifier), Processes({running.process()}));
}

// A program counts as started before the kernel has its command line.
TEST(RunningApplications, AreFoundTheMomentTheyAreStarted) {
    const std::string script = putScript("read -r line\n");
    const BusyCores others; // so that the moment lasts
    for (int start = 0; start < 300; ++start) {
        const ChildProcess running({script});
        ASSERT_EQ(RunningApplication::withBundleIdentifier(kScriptIdentifier).size(), 1U) << "start " << start;
    }
}

TEST(RunningApplications, OfAnUnknownIdentifierAreNone) {
    EXPECT_TRUE(RunningApplication::withBundleIdentifier(u"com.example.nobody"_s).empty());
}
