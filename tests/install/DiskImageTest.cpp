#include "tests/install/DiskImageTest.h"

#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "tests/support/TestEnvironment.h"
#include "ui/View.h"

#include <QRegularExpression>

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <semaphore>
#include <thread>

using namespace Qt::StringLiterals;

TEST_F(DiskImage, DoesNotCheckAResponseThatIsNoHttp) {
    fakeDiskImageTool("true\n");
    finish({.address = u"file:///Kit.dmg"_s, .suggestedFilename = u"Kit.dmg"_s}, downloadedFile());
    EXPECT_EQ(messages().value(0), u"Download completed: "_s + kUrl);
}

TEST_F(DiskImage, SendsThePassEventWithTheProduct) {
    fakeDiskImageTool("true\n");
    finish();
    EXPECT_EQ(events().value(0), (QVariantMap{{u"EVT"_s, u"Download"_s},
                                              {u"RSLT"_s, u"PASS"_s},
                                              {u"URL"_s, kUrl},
                                              {u"T"_s, u"seconds"_s},
                                              {u"DProd"_s, u"Kit Studio"_s}}));
}

TEST_F(DiskImage, LeavesTheProductOutOfThePassEventWhenThereIsNone) {
    fakeDiskImageTool("true\n");
    controller().setConfig(installConfig({{u"appName"_s, QVariant()}}));
    finish();
    EXPECT_FALSE(events().value(0).contains(u"DProd"_s));
}

TEST_F(DiskImage, ReplacesAnOlderFileOfTheSameName) {
    fakeDiskImageTool("true\n");
    const QString image = platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s;
    test::writeFile(image, "an older image");
    finish();
    EXPECT_EQ(messages().value(3), u"\""_s + image + u" \"already exists. Removing old file."_s);
    EXPECT_EQ(test::readFile(image), "image");
}

TEST_F(DiskImage, LogsAttachButPassesMount) {
    fakeDiskImageTool("echo \"$#|$1|$2\" > \"$HOME/tool\"\n");
    finish();
    EXPECT_EQ(QString::fromUtf8(test::readFile(test::home() + u"/tool"_s)),
              u"2|mount|"_s + platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg\n"_s);
}

TEST_F(DiskImage, RunsTheInstallerDetachesAndQuits) {
    fakeDiskImageTool(QByteArray("echo \"$1|$2\" >> \"$HOME/tool\"\n") + kMounts);
    putInstaller(u"Setup"_s, "echo \"$#|$1\" > \"$HOME/arguments\"\necho 'PROGRESS: 1/2'\n");
    const QString image = platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s;
    controller().spinnerView()->setHidden(false);
    whenTerminated([&] {
        EXPECT_EQ(maskedMessages(),
                  afterMount({u"Closing Connecting screen."_s,
                              u"DMG mounted. Running command: /Volumes/Kit Setup/Setup.app"_s,
                              u"Running Installer: \"/Volumes/Kit Setup/Setup.app \" --a --b"_s,
                              u"Installer from path : \"/Volumes/Kit Setup/Setup.app \" finished running. Return "
                              "value: 1"_s,
                              u"Unmounting: "_s + image,
                              u"Running command: /usr/bin/hdiutil detach /Volumes/Kit Setup"_s, u"Kit end."_s}));
        EXPECT_EQ(test::readFile(test::home() + u"/arguments"_s), "1|--a --b\n");
        EXPECT_EQ(QString::fromUtf8(test::readFile(test::home() + u"/tool"_s)),
                  u"mount|"_s + image + u"\ndetach|/Volumes/Kit Setup\n"_s);
        EXPECT_TRUE(controller().isViewHidden());
        EXPECT_TRUE(controller().spinnerView()->isHidden());
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(DiskImage, LogsTheReturnValueZeroForAnInstallerThatFails) {
    fakeDiskImageTool(kMounts);
    putInstaller(u"Setup"_s, "exit 3\n");
    whenTerminated([&] {
        EXPECT_TRUE(messages().contains(
            u"Installer from path : \"/Volumes/Kit Setup/Setup.app \" finished running. Return value: 0"_s));
        EXPECT_EQ(messages().last(), u"Kit end."_s);
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(DiskImage, HandsNoArgumentsToTheInstallerWhenThereAreNone) {
    fakeDiskImageTool(kMounts);
    putInstaller(u"Setup"_s, "echo \"$#\" > \"$HOME/arguments\"\n");
    controller().setConfig(installConfig({{u"commandLineArgs"_s, QVariant()}}));
    whenTerminated([&] {
        EXPECT_EQ(test::readFile(test::home() + u"/arguments"_s), "0\n");
        EXPECT_TRUE(messages().contains(u"Running Installer: \"/Volumes/Kit Setup/Setup.app \" (null)"_s));
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(DiskImage, HandsNoArgumentsToTheInstallerWhenTheTextIsEmpty) {
    fakeDiskImageTool(kMounts);
    putInstaller(u"Setup"_s, "echo \"$#\" > \"$HOME/arguments\"\n");
    controller().setConfig(installConfig({{u"commandLineArgs"_s, QString()}}));
    whenTerminated([&] {
        EXPECT_EQ(test::readFile(test::home() + u"/arguments"_s), "0\n");
        EXPECT_TRUE(messages().contains(u"Running Installer: \"/Volumes/Kit Setup/Setup.app \" "_s));
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(DiskImage, ReadsTheInstallersOutputOnceItHasEnded) {
    fakeDiskImageTool(kMounts);
    putInstaller(u"Setup"_s, "echo 'PROGRESS: 1/2'\n");
    const QString console = test::folder() + u"/console"_s;
    ASSERT_NE(std::freopen(console.toLocal8Bit().constData(), "w", stderr), nullptr);
    whenTerminated([&] {
        EXPECT_TRUE(test::waitFor([] { return test::eventLogMessages().last() == u"Install Kit failed"_s; }));
        EXPECT_TRUE(test::waitFor([&] { return test::readFile(console).contains("] stringOutput: PROGRESS: 1/2\n"); }));
        EXPECT_TRUE(test::readFile(console).contains("] aNotification: NSConcreteNotification {name = "
                                                     "NSTaskDidTerminateNotification; object = <"));
        EXPECT_TRUE(test::readFile(console).contains("] completeOutput: \n"));
    });
    finish();
    FAIL() << "the program did not end";
}

TEST_F(DiskImage, TakesTheElapsedTimeOnceForTheLogAndTheEvent) {
    fakeDiskImageTool("true\n");
    finish();
    static const QRegularExpression logged(u"^Download took: (\\d+\\.\\d{6}) seconds$"_s);
    const double printed = logged.match(messages().value(1)).captured(1).toDouble();
    const QStringList downloads = test::eventLogMessages().filter(u"\"EVT\":\"Download\""_s);
    ASSERT_EQ(downloads.size(), 1);
    static const QRegularExpression sent(u"\"T\":([0-9.e+-]+)"_s);
    const double value = sent.match(downloads[0]).captured(1).toDouble();
    EXPECT_GT(value, 0.0);
    EXPECT_NEAR(value, printed, 0.000'000'6); // writing one entry takes longer than that
    EXPECT_EQ(value, static_cast<double>(static_cast<float>(value))) << "more than a 32-bit number holds";
}

// The output is read after the end only: an installer that writes more than the pipe holds and the pass wait for each
// other, and nothing that comes after is logged.
TEST_F(DiskImage, WaitsForAnInstallerThatWritesMoreThanThePipeHolds) {
    fakeDiskImageTool(kMounts);
    putInstaller(u"Setup"_s, "echo $$ > \"$HOME/process\"\nexec head -c 65537 /dev/zero\n");
    const std::string process = (test::home() + u"/process"_s).toStdString();
    ASSERT_EQ(::mkfifo(process.c_str(), 0600), 0);
    std::binary_semaphore wentOn(0);
    std::thread impatient([&] {
        pid_t installer = 0;
        std::ifstream(process) >> installer;
        EXPECT_FALSE(wentOn.try_acquire_for(std::chrono::seconds(2)));
        EXPECT_TRUE(messages().last().startsWith(u"Running Installer: "_s)) << messages().last().toStdString();
        ::kill(installer, SIGKILL);
    });
    whenTerminated([&] {
        wentOn.release();
        impatient.join();
        EXPECT_TRUE(messages().contains(
            u"Installer from path : \"/Volumes/Kit Setup/Setup.app \" finished running. Return value: 0"_s));
    });
    finish();
    FAIL() << "the program did not end";
}
