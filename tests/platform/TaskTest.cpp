#include "platform/Task.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/PlatformException.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

struct Run {
    QByteArray output;
    int status = -1;
};

std::shared_ptr<Task> shellTask(const QString& script, const std::shared_ptr<Pipe>& pipe = nullptr) {
    auto task = std::make_shared<Task>();
    task->setLaunchPath(u"/bin/sh"_s);
    task->setArguments({u"-c"_s, script});
    task->setStandardOutput(pipe);
    return task;
}

Run run(const QString& script) {
    const auto pipe = std::make_shared<Pipe>();
    const auto task = shellTask(script, pipe);
    task->launch();
    task->waitUntilExit();
    return {pipe->fileHandleForReading()->readDataToEndOfFile(), task->terminationStatus()};
}

QString reasonOfLaunching(const std::optional<QString>& path, const std::shared_ptr<Pipe>& output = nullptr) {
    Task task;
    task.setLaunchPath(path);
    task.setStandardOutput(output);
    try {
        task.launch();
    } catch (const PlatformException& exception) {
        EXPECT_EQ(exception.name(), u"NSInvalidArgumentException"_s);
        return exception.reason();
    }
    return u"launched"_s;
}

QString putFile(const QByteArray& contents, QFile::Permissions permissions) {
    const QString path = test::folder() + u"/program"_s;
    test::writeFile(path, contents);
    QFile::setPermissions(path, permissions);
    return path;
}

// Holds a script at `read` until a line is written to it.
QString makeGate() {
    const QString gate = test::folder() + u"/gate"_s;
    EXPECT_EQ(::mkfifo(QFile::encodeName(gate).constData(), 0600), 0);
    return gate;
}

const QString kNotAccessible = u"launch path not accessible"_s;
constexpr auto kExecutable = QFile::ReadOwner | QFile::ExeOwner;

} // namespace

TEST(Task, PassesArgumentsVerbatim) {
    const auto pipe = std::make_shared<Pipe>();
    const auto task = std::make_shared<Task>();
    task->setLaunchPath(u"/usr/bin/printf"_s);
    task->setArguments({u"<%s>\n"_s, u"a b"_s, QString(), u"$HOME *'\"ü"_s});
    task->setStandardOutput(pipe);
    task->launch();
    EXPECT_EQ(pipe->fileHandleForReading()->readDataToEndOfFile(), "<a b>\n<>\n<$HOME *'\"ü>\n");
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), 0);
}

TEST(Task, TellsTheExitCodeOrTheSignal) {
    EXPECT_EQ(run(u"exit 0"_s).status, 0);
    EXPECT_EQ(run(u"exit 37"_s).status, 37);
    EXPECT_EQ(run(u"kill -TERM $$"_s).status, SIGTERM);
    EXPECT_EQ(run(u"kill -KILL $$"_s).status, SIGKILL);
}

TEST(Task, CanBeWaitedForTwice) {
    const auto task = shellTask(u"exit 5"_s);
    task->launch();
    task->waitUntilExit();
    task->waitUntilExit();
    EXPECT_EQ(task->terminationStatus(), 5);
}

TEST(Task, MapsItsLaunchPath) {
    test::putSystemTool(u"/usr/bin/hdiutil"_s, "#!/bin/sh\necho \"tool $1\"\n");
    const auto pipe = std::make_shared<Pipe>();
    const auto task = std::make_shared<Task>();
    task->setLaunchPath(u"/usr/bin/hdiutil"_s);
    task->setArguments({u"/usr/bin/hdiutil"_s}); // arguments stay plain
    task->setStandardOutput(pipe);
    task->launch();
    task->waitUntilExit();
    EXPECT_EQ(pipe->fileHandleForReading()->readDataToEndOfFile(), "tool /usr/bin/hdiutil\n");
}

TEST(Task, LetsOnlyTheThreeStandardDescriptorsThrough) {
    const int open = ::open("/dev/null", O_RDONLY); // without close-on-exec
    const int high = ::fcntl(open, F_DUPFD, 200);
    ASSERT_GE(high, 200);
    const Pipe other;
    EXPECT_EQ(run(u"for n in /proc/self/fd/*; do echo ${n##*/}; done; :"_s).output, "0\n1\n2\n3\n")
        << "number 3 is the shell's own, on the folder that it lists";
    ::close(open);
    ::close(high);
}

TEST(Task, GivesTheChildDefaultSignalsAndAGroupOfItsOwn) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTERM, SIG_IGN);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigaddset(&blocked, SIGHUP);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, nullptr), 0);
    EXPECT_EQ(run(u"kill -PIPE $$"_s).status, SIGPIPE);
    EXPECT_EQ(run(u"kill -TERM $$"_s).status, SIGTERM);
    EXPECT_EQ(run(u"kill -INT $$"_s).status, SIGINT);
    EXPECT_EQ(run(u"kill -HUP $$"_s).status, SIGHUP);
    const QByteArray group = run(u"echo $$; cut -d ' ' -f 5 /proc/$$/stat"_s).output;
    const QByteArrayList lines = group.split('\n');
    EXPECT_EQ(lines.value(0), lines.value(1));
}

TEST(Task, InheritsEnvironmentFolderStandardInputAndStandardError) {
    test::setEnvironment("QN_TEST_VALUE", "inherited");
    const QByteArray folder = QFile::encodeName(QString::fromStdString(std::filesystem::current_path().string()));
    EXPECT_EQ(run(u"echo $QN_TEST_VALUE; pwd -P"_s).output, "inherited\n" + folder + '\n');
    testing::internal::CaptureStderr();
    EXPECT_EQ(run(u"echo seen >&2"_s).output, "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "seen\n");
}

TEST(Task, RaisesWithoutALaunchPath) {
    EXPECT_EQ(reasonOfLaunching(std::nullopt), u"must provide a launch path"_s);
}

TEST(Task, RaisesForAMissingFileAFolderAndAFileThatIsNoProgram) {
    EXPECT_EQ(reasonOfLaunching(u"/no/such/program"_s), kNotAccessible);
    EXPECT_EQ(reasonOfLaunching(QString()), kNotAccessible);
    EXPECT_EQ(reasonOfLaunching(u"/usr/bin"_s), kNotAccessible);
    EXPECT_EQ(reasonOfLaunching(putFile("#!/bin/sh\n", QFile::ReadOwner)), kNotAccessible);
}

TEST(Task, RaisesForAnExecutableOfAnotherSystem) {
    // The first bytes of a 64-bit Mach-O file for x86-64.
    const QByteArray machO = QByteArray("\xCF\xFA\xED\xFE\x07\x00\x00\x01\x03\x00\x00\x00\x02\x00\x00\x00", 16);
    EXPECT_EQ(reasonOfLaunching(putFile(machO + QByteArray(4096, '\0'), kExecutable)), kNotAccessible);
}

TEST(Task, SearchesNoPath) {
    EXPECT_EQ(reasonOfLaunching(u"sh"_s), kNotAccessible);
}

TEST(Pipe, ReachesItsEndWhenTheChildHasEnded) {
    EXPECT_EQ(run(u"printf 'a\\000b\\n'"_s).output, QByteArray("a\0b\n", 4));
    EXPECT_EQ(run(u":"_s).output, "");
}

TEST(Pipe, HoldsWhatTheChildWroteUntilItIsRead) {
    EXPECT_EQ(run(u"head -c 65536 /dev/zero"_s).output, QByteArray(65536, '\0'));
}

TEST(Pipe, EndsAlsoWhenTheLaunchRaisedAndThePipeIsGone) {
    std::shared_ptr<ReadingFileHandle> reading;
    {
        const auto pipe = std::make_shared<Pipe>();
        reading = pipe->fileHandleForReading();
        Task task;
        task.setLaunchPath(u"/no/such/program"_s);
        task.setStandardOutput(pipe);
        EXPECT_THROW(task.launch(), PlatformException);
    }
    EXPECT_EQ(reading->readDataToEndOfFile(), "");
}

TEST(BackgroundReading, DeliversOneChunkForEachCallOnTheMainThread) {
    const auto pipe = std::make_shared<Pipe>();
    const QString gate = makeGate();
    const auto task = shellTask(u"printf one; read -r line < '%1'; printf two"_s.arg(gate), pipe);
    const auto handle = pipe->fileHandleForReading();
    QByteArrayList chunks;
    const auto mainThread = std::this_thread::get_id();
    NotificationCenter::defaultCenter().addObserver(
        kFileHandleReadCompletion,
        [&](const Notification& notification) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            EXPECT_EQ(std::get<const void*>(notification.object), handle.get());
            chunks += notification.userInfo.value(kFileHandleNotificationDataItem).toByteArray();
        },
        handle.get());
    task->launch();
    handle->readInBackgroundAndNotify();
    EXPECT_TRUE(test::waitFor([&chunks] { return chunks.size() == 1; }));
    test::writeFile(gate, "go\n");
    task->waitUntilExit();
    handle->readInBackgroundAndNotify();
    EXPECT_TRUE(test::waitFor([&chunks] { return chunks.size() == 2; }));
    handle->readInBackgroundAndNotify();
    EXPECT_TRUE(test::waitFor([&chunks] { return chunks.size() == 3; }));
    EXPECT_EQ(chunks, QByteArrayList({"one", "two", ""}));
}

TEST(BackgroundReading, AtTheEndOfFileLetsOtherEventsThrough) {
    const auto pipe = std::make_shared<Pipe>();
    const auto task = shellTask(u":"_s, pipe);
    const auto handle = pipe->fileHandleForReading();
    int chunks = 0;
    bool stop = false;
    NotificationCenter::defaultCenter().addObserver(
        kFileHandleReadCompletion,
        [&](const Notification& notification) {
            EXPECT_EQ(notification.userInfo.value(kFileHandleNotificationDataItem).toByteArray(), "");
            ++chunks;
            if (!stop) {
                handle->readInBackgroundAndNotify(); // re-armed for ever, as the protocol's handler does
            }
        },
        handle.get());
    task->launch();
    task->waitUntilExit();
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(1);
    handle->readInBackgroundAndNotify();
    EXPECT_TRUE(test::waitFor([&] { return ticks >= 20 && chunks >= 20; }));
    stop = true;
    const int seen = chunks;
    EXPECT_TRUE(test::waitFor([&] { return chunks > seen; }));
}

TEST(TerminationNotification, ComesOnceWithTheTaskAndWithoutUserInfo) {
    const auto task = shellTask(u"exit 4"_s);
    int count = 0;
    NotificationCenter::defaultCenter().addObserver(
        kTaskDidTerminate,
        [&](const Notification& notification) {
            ++count;
            EXPECT_TRUE(notification.userInfo.isEmpty());
            EXPECT_EQ(task->terminationStatus(), 4);
        },
        task.get());
    task->launch();
    task->notifyOnTermination();
    EXPECT_TRUE(test::waitFor([&count] { return count == 1; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(count, 1);
}

TEST(TerminationNotification, ComesAlsoWhenTheChildHadEndedBefore) {
    const auto task = shellTask(u"exit 0"_s);
    bool told = false;
    NotificationCenter::defaultCenter().addObserver(
        kTaskDidTerminate, [&told](const Notification&) { told = true; }, task.get());
    task->launch();
    task->waitUntilExit();
    task->notifyOnTermination();
    EXPECT_FALSE(told) << "never from within the call";
    EXPECT_TRUE(test::waitFor([&told] { return told; }));
}

TEST(Task, LeavesAChildThatStillRunsAloneAndCollectsItLater) {
    const QString gate = makeGate();
    const QString done = test::folder() + u"/done"_s;
    {
        const auto task = shellTask(u"read -r line < '%1'; echo $line > '%2'"_s.arg(gate, done));
        task->launch();
    }
    test::writeFile(gate, "go\n");
    EXPECT_TRUE(test::waitFor([] { return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }));
    EXPECT_EQ(test::readFile(done), "go\n");
}

TEST(Task, CountsAChildThatSomebodyElseCollectedAsNoSuccess) {
    const auto task = shellTask(u"exit 0"_s);
    task->launch();
    EXPECT_TRUE(test::waitFor([] { return ::waitpid(-1, nullptr, WNOHANG) > 0; }));
    task->waitUntilExit(); // and does not wait for a child that is not there
    EXPECT_EQ(task->terminationStatus(), -1);
}

TEST(Task, TakesOverAToolThatWasStartedAhead) {
    const QString script = u"echo x >>%1/started; echo answer; exit 3"_s.arg(test::folder());
    Task::launchAhead(u"/bin/sh"_s, {u"-c"_s, script});
    const auto pipe = std::make_shared<Pipe>();
    const auto handle = pipe->fileHandleForReading();
    const auto task = shellTask(script, pipe);
    task->launch();
    task->waitUntilExit();
    EXPECT_EQ(handle->readDataToEndOfFile(), "answer\n");
    EXPECT_EQ(task->terminationStatus(), 3);
    EXPECT_EQ(test::readFile(test::folder() + u"/started"_s), "x\n");
    EXPECT_EQ(run(script).output, "answer\n");
    EXPECT_EQ(test::readFile(test::folder() + u"/started"_s), "x\nx\n"); // only once
}

TEST(Task, StartsAnotherToolThanTheOneThatWasStartedAhead) {
    Task::launchAhead(u"/bin/sh"_s, {u"-c"_s, u"echo ahead"_s});
    EXPECT_EQ(run(u"echo mine"_s).output, "mine\n");
    EXPECT_EQ(run(u"echo ahead"_s).output, "ahead\n");
}

TEST(Task, SaysOnlyAtItsLaunchThatAToolCannotBeStartedAhead) {
    Task::launchAhead(u"/no/such/tool"_s, {});
    EXPECT_EQ(reasonOfLaunching(u"/no/such/tool"_s, std::make_shared<Pipe>()), kNotAccessible);
}

TEST(Task, NamesThisProcessToTheDiskImageToolAlone) {
    test::putSystemTool(u"/usr/bin/hdiutil"_s, "#!/bin/sh\nprintf '%s' \"$HDIUTIL_OWNER\"\n");
    test::setEnvironment("HDIUTIL_OWNER", "somebody else");
    const auto pipe = std::make_shared<Pipe>();
    Task task;
    task.setLaunchPath(u"/usr/bin/hdiutil"_s);
    task.setStandardOutput(pipe);
    task.launch();
    task.waitUntilExit();
    const QStringList words =
        QString::fromUtf8(pipe->fileHandleForReading()->readDataToEndOfFile()).split(u' ', Qt::SkipEmptyParts);
    ASSERT_EQ(words.size(), 2);
    EXPECT_EQ(words[0], QString::number(::getpid()));
    // Field 22 of proc(5)'s stat; this program's name has no blank.
    EXPECT_EQ(words[1].toUtf8(), test::readFile(u"/proc/self/stat"_s).split(' ').at(21));
    EXPECT_EQ(run(u"printf '%s' \"$HDIUTIL_OWNER\""_s).output, "somebody else");
}
