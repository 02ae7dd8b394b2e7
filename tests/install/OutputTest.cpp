#include "app/AppDelegate.h"
#include "app/exceptionHandler.h"
#include "install/QNMainController.h"
#include "platform/Task.h"
#include "platform/Termination.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/UncaughtException.h"
#include "tests/install/ControllerTest.h"
#include "tests/support/TestEnvironment.h"
#include "ui/MainMenu.h"
#include "ui/Window.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

Notification chunkOf(const QByteArray& bytes) {
    return {kFileHandleReadCompletion, {}, {{kFileHandleNotificationDataItem, bytes}}};
}

} // namespace

class Output : public ControllerTest {
protected:
    QStringList consoleFor(const QByteArray& chunk) {
        controller();
        return test::consoleLinesOf([&] { controller().receivedData(chunkOf(chunk)); });
    }

    // Starts a shell command with its output on a pipe and waits for its end, as the pass does.
    std::shared_ptr<Task> run(const QString& command) {
        const auto task = std::make_shared<Task>();
        pipe_ = std::make_shared<Pipe>();
        task->setLaunchPath(u"/bin/sh"_s);
        task->setArguments({u"-c"_s, command});
        task->setStandardOutput(pipe_);
        task->launch();
        task->waitUntilExit();
        return task;
    }

    const std::shared_ptr<ReadingFileHandle>& handle() const { return pipe_->fileHandleForReading(); }

private:
    std::shared_ptr<Pipe> pipe_;
};

TEST_F(Output, EchoesEachChunkToTheConsoleOnly) {
    EXPECT_EQ(consoleFor("hello"), QStringList{u"stringOutput: hello"_s});
    EXPECT_EQ(consoleFor("PROGRESS: 45/100"), QStringList{u"stringOutput: PROGRESS: 45/100"_s});
    EXPECT_EQ(consoleFor(""), QStringList{u"stringOutput: "_s});
    EXPECT_TRUE(messages().isEmpty());
    EXPECT_EQ(controller().progressPercents(), 0.0);
}

TEST_F(Output, ShowsAChunkThatIsNoUtf8AsNull) {
    EXPECT_EQ(consoleFor("PROGRESS: \xFF"), QStringList{u"stringOutput: (null)"_s});
}

TEST_F(Output, RaisesForAProgressLineWithoutASlashInFront) {
    controller();
    EXPECT_THROW(controller().receivedData(chunkOf("PROGRESS: 50")), PlatformException);
    EXPECT_THROW(controller().receivedData(chunkOf("a/b PROGRESS: 1/2")), PlatformException);
}

TEST_F(Output, IsReadChunkByChunkFromARealPipeUntilItsEndAndBeyond) {
    controller();
    const std::shared_ptr<Task> task = run(u"echo 'PROGRESS: 45/100'"_s);
    int chunks = 0;
    NotificationCenter::defaultCenter().addObserver(
        kFileHandleReadCompletion,
        [&](const Notification& notification) {
            ++chunks;
            controller().receivedData(notification);
        },
        handle().get());
    const QStringList console = test::consoleLinesOf([&] {
        handle()->readInBackgroundAndNotify();
        // The end of the file is read again and again, and other events still get their turn.
        EXPECT_TRUE(test::waitFor([&] { return chunks >= 4; }));
    });
    EXPECT_EQ(console.mid(0, 3),
              (QStringList{u"stringOutput: PROGRESS: 45/100"_s, u"stringOutput: "_s, u"stringOutput: "_s}));
}

TEST_F(Output, EndsWithTheFailedLineSinceNothingSetsThePercents) {
    controller();
    const QStringList console = test::consoleLinesOf([this] {
        controller().taskCompletion({kTaskDidTerminate, static_cast<const void*>(this), {}});
    });
    ASSERT_EQ(console.size(), 2);
    EXPECT_TRUE(console[0].startsWith(u"aNotification: NSConcreteNotification {name = "
                                      "NSTaskDidTerminateNotification; object = <0x"_s))
        << console[0].toStdString();
    EXPECT_EQ(console[1], u"completeOutput: "_s);
    EXPECT_EQ(messages(), QStringList{u"Install Kit failed"_s});
}

TEST_F(Output, ComparesThePercentsAsAWholeNumber) {
    controller();
    for (const auto& [percents, message] :
         {std::pair(100.0, u"Install Kit completed"_s), std::pair(100.99, u"Install Kit completed"_s),
          std::pair(99.99, u"Install Kit failed"_s), std::pair(101.0, u"Install Kit failed"_s),
          std::pair(-100.0, u"Install Kit failed"_s)}) {
        controller().setProgressPercents(percents);
        controller().taskCompletion({kTaskDidTerminate, {}, {}});
        EXPECT_EQ(messages().last(), message) << percents;
    }
}

TEST_F(Output, DetachesTheInstallerVolumeWhenThePercentsAreWhole) {
    test::setInfo(u"CFBundleShortVersionString"_s, u"2.5"_s);
    controller();
    test::putSystemFile(u"/proc/self/mountinfo"_s,
                        "36 35 98:0 / /mnt/Kit\\040Installer\\0402.5\\040dev1 ro - fuse x ro\n");
    controller().setProgressPercents(100.0);
    controller().taskCompletion({kTaskDidTerminate, {}, {}});
    EXPECT_EQ(messages(),
              (QStringList{u"Unmount DMG from path: /mnt/Kit Installer 2.5 dev1"_s, u"Install Kit completed"_s}));
}

TEST_F(Output, TellsOfTheEndOfATaskThatEndedBeforeAnybodyObserved) {
    controller();
    const std::shared_ptr<Task> task = run(u"exit 0"_s);
    int ends = 0;
    NotificationCenter::defaultCenter().addObserver(
        kTaskDidTerminate, [&](const Notification&) { ++ends; }, task.get());
    task->notifyOnTermination();
    EXPECT_EQ(ends, 0);
    EXPECT_TRUE(test::waitFor([&] { return ends == 1; }));
}

// The whole way: a real pipe, a running loop, the crash handler, a real end of the process.
TEST_F(Output, ThatBreaksTheProtocolEndsTheProgramInAnOrderlyWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            controller();
            AppDelegate delegate(MainInterface{});
            platform::setUncaughtExceptionHandler(exceptionHandler);
            platform::setTerminateFunction(nullptr);
            platform::setWillTerminateHandler([&] { delegate.applicationWillTerminate(); });
            const std::shared_ptr<Task> task = run(u"echo 'PROGRESS: 50'"_s);
            NotificationCenter::defaultCenter().addObserver(
                kFileHandleReadCompletion,
                [&](const Notification& notification) { controller().receivedData(notification); }, handle().get());
            handle()->readInBackgroundAndNotify();
            QCoreApplication::exec();
        },
        testing::ExitedWithCode(0), "CRASH REASON: .*substringWithRange.*CRASH USER_INFO: \\(null\\)");
    const QStringList log = test::eventLogMessages();
    ASSERT_GE(log.size(), 2);
    EXPECT_EQ(log[log.size() - 2],
              u"Application crashed with [reason: *** -[__NSCFString substringWithRange:]: Range {10, "
              "9223372036854775797} out of bounds; string length 13 and userInfo: (null)]"_s);
    EXPECT_TRUE(log.last().contains(u"\"EVT\":\"End\""_s)) << log.last().toStdString();
}
