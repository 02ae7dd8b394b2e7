#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

qsizetype lineCount(const InstallerRun& run) {
    return test::readFile(run.logPath()).count("\r\n");
}

QString libraryForRequests() {
    link_map* place = nullptr;
    void* const library = dlopen("libcurl.so.4", RTLD_LAZY);
    return library && dlinfo(library, RTLD_DI_LINKMAP, &place) == 0 ? QString::fromLocal8Bit(place->l_name) : QString();
}

} // namespace

TEST(Launch, OfASecondCopyEndsWithStatusZeroAndWritesNothing) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    const qsizetype lines = lineCount(run);
    EXPECT_EQ(run.startAnother({}), 0);
    EXPECT_EQ(run.anotherConsole(), QString());
    EXPECT_EQ(lineCount(run), lines);
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(lineCount(run), lines + 1); // the "End" event
}

// Each start of a probe tool leaves a line.
TEST(Launch, OfASecondCopyStartsNoProbeTool) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.putSystemTool(u"/usr/sbin/system_profiler"_s,
                      "echo started >>\"$HOME/probes\"; echo 'Processor Name: Sample CPU'\n");
    run.putSystemTool(u"/sbin/ifconfig"_s, "echo started >>\"$HOME/probes\"; echo 'ether a4:83:e7:12:34:56'\n");
    const QString probes = run.folder() + u"/home/probes"_s;
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    const QByteArray ofTheFirst = test::readFile(probes);
    EXPECT_TRUE(ofTheFirst.startsWith("started\n"));
    EXPECT_EQ(run.startAnother({}), 0);
    EXPECT_EQ(test::readFile(probes), ofTheFirst);
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
}

TEST(Launch, TellsOfARemovedCache) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    const QString cache = run.folder() + u"/home/Library/Caches/com.example.e2e"_s;
    test::writeFile(cache + u"/deep/file"_s, "x");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    EXPECT_FALSE(QFile::exists(cache));
    EXPECT_TRUE(run.account().contains(
        u"\"message\":\" Successfully removed app cache from FOLDER/home/Library/Caches/com.example.e2e .\""_s));
}

TEST(Launch, TakesTheConfigurationFromTheFirstArgumentWhenThatIsAnAddress) {
    InstallerRun run;
    run.portal().expect("GET /other.json", loopback::replyWith("{}"));
    run.start({run.address(u"/other.json"_s), u"http://ignored/"_s});
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    const QString account = run.account();
    EXPECT_TRUE(account.contains(u"| ARGS: (\n    \"FOLDER/Product.app/Contents/MacOS/QNInstaller\",\n    "
                                 "\"http://PORTAL/other.json\",\n    \"http://ignored/\"\n)\n| URL: "
                                 "http://PORTAL/other.json\n"_s))
        << account.toStdString();
}

TEST(Launch, IgnoresAFirstArgumentThatIsNoAddress) {
    InstallerRun run;
    run.expectConfiguration("{}");
    run.start({u"-style"_s, u"http://ignored/"_s});
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
}

TEST(Launch, WithoutADisplayEndsWithStatusOneAndOneConsoleLine) {
    InstallerRun run;
    run.setEnvironment(u"DISPLAY"_s, QString());
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(
        run.account(),
        u"--- event log\n--- console\n| There is no display to show a window on, or no plugin "
        "for it in FOLDER/Product.app\n--- requests\n--- opened\n--- installer\n--- mounted at the end\n--- exit status\n1\n"_s);
}

TEST(Launch, OfABundleWithoutSettingsEndsWithStatusOneAndOneConsoleLine) {
    InstallerRun run;
    test::writeFile(run.folder() + u"/Product.app/Contents/Info.plist"_s, "no property list");
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.account(),
              u"--- event log\n--- console\n| The bundle at FOLDER/Product.app has no readable Info.plist\n"
              "--- requests\n--- opened\n--- installer\n--- mounted at the end\n--- exit status\n1\n"_s);
}

class BrokenInterfaceFile : public testing::TestWithParam<const char*> {};

TEST_P(BrokenInterfaceFile, EndsInTheCrashHandlerAndSendsNothing) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    const QString file = run.ownResources() + u"/Base.lproj/"_s + QString::fromLatin1(GetParam());
    ASSERT_TRUE(QFile::exists(file));
    test::writeFile(file, "<ui version=\"4.0\"></ui>");
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    const QString account = run.account();
    EXPECT_TRUE(account.contains(u"| CRASH REASON: "_s)) << account.toStdString();
    EXPECT_TRUE(account.contains(u"| CRASH USER_INFO: (null)\n"_s));
    EXPECT_TRUE(account.contains(u"\"message\":\" Application crashed with [reason: "_s));
    EXPECT_TRUE(account.contains(u"\"fn\": \"void exceptionHandler(const PlatformException &)\""_s));
    EXPECT_TRUE(account.contains(u"\"EVT\":\"End\""_s));
    EXPECT_TRUE(account.endsWith(u"--- exit status\n0\n"_s));
}

INSTANTIATE_TEST_SUITE_P(Launch, BrokenInterfaceFile, testing::Values("QNMainController.ui", "QNErrorController.ui"),
                         [](const auto& instance) {
                             return QString::fromLatin1(instance.param).chopped(3).toStdString();
                         });

class EndingSignal : public testing::TestWithParam<int> {};

TEST_P(EndingSignal, IsARequestForTheOrderlyEnd) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.sendSignal(GetParam());
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_TRUE(run.account().endsWith(u"--- exit status\n0\n"_s));
    EXPECT_TRUE(run.account().contains(u"\"EVT\":\"End\""_s));
}

INSTANTIATE_TEST_SUITE_P(Launch, EndingSignal, testing::Values(SIGHUP, SIGINT, SIGTERM));

TEST(Launch, OfTheAddressHandlerIsNoCopyAndEndsWithStatusZero) {
    InstallerRun run;
    run.start({u"--open-url"_s, u"qnd://crashInfo"_s});
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.account(), u"--- event log\n--- console\n--- requests\n--- opened\n--- installer\n"
                             "--- mounted at the end\n--- exit status\n0\n"_s);
}

TEST(Launch, OfABundleThatLacksTheVersionStillEndsWithStatusZero) {
    // The first event raises, and so does the last one on the way out of the crash.
    InstallerRun run;
    run.setInfo(u"CFBundleShortVersionString"_s, QVariant());
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_TRUE(run.account().contains(u"| CRASH REASON: *** -[__NSPlaceholderDictionary "_s));
    EXPECT_TRUE(run.account().contains(u"| Exception while ending: *** -[__NSPlaceholderDictionary "_s));
    EXPECT_TRUE(run.account().endsWith(u"--- exit status\n0\n"_s));
}

TEST(Launch, WithoutTheWindowSystemsPluginEndsWithStatusOneAndOneConsoleLine) {
    InstallerRun run;
    QFile::remove(run.folder() + u"/Product.app/Contents/PlugIns"_s);
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_TRUE(
        run.account().contains(u"--- console\n| There is no display to show a window on, or no plugin for it in "
                               "FOLDER/Product.app\n---"_s));
    EXPECT_TRUE(run.account().endsWith(u"--- exit status\n1\n"_s));
}

TEST(Launch, WithABrokenMainMenuEndsWithStatusOneAndOneConsoleLine) {
    for (const QByteArray& contents : {QByteArray("no XML"), QByteArray("<ui version=\"4.0\"></ui>"), QByteArray()}) {
        InstallerRun run;
        test::writeFile(run.ownResources() + u"/Base.lproj/MainMenu.ui"_s, contents);
        run.start();
        ASSERT_TRUE(run.waitForEnd());
        const QString account = run.account();
        EXPECT_TRUE(
            account.startsWith(u"--- event log\n--- console\n| The interface file MainMenu.ui cannot be used: "_s));
        EXPECT_EQ(account.count(u"| "_s), 1) << account.toStdString();
        EXPECT_TRUE(account.endsWith(u"--- exit status\n1\n"_s));
        run.discard();
    }
}

TEST(Launch, DoesNotTakeAnotherWindowSystemFromTheEnvironment) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.setEnvironment(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    run.setEnvironment(u"WAYLAND_DISPLAY"_s, u"nobody-there"_s);
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    EXPECT_FALSE(run.account().contains(u"Qt: "_s)) << run.account().toStdString();
}

TEST(Launch, KeepsTheCachesOfOthersWhenTheIdentifierIsNoPlainName) {
    for (const QString& identifier : {u""_s, u".."_s, u"a/../.."_s}) {
        const auto run = std::make_unique<InstallerRun>();
        run->putSystemFile(u"/proc/net/route"_s, "");
        run->setInfo(u"CFBundleIdentifier"_s, identifier);
        const QString foreign = run->folder() + u"/home/Library/Caches/other/file"_s;
        test::writeFile(foreign, "x");
        run->start();
        ASSERT_TRUE(run->waitForMessage(u"Show NoInternet screen"_s));
        EXPECT_TRUE(QFile::exists(foreign));
        EXPECT_TRUE(run->account().contains(u" Failed to remove app cache from FOLDER/home/Library/Caches/"_s +
                                            identifier + u" ."_s));
        run->discard();
    }
}

TEST(Launch, WithClosedStandardStreamsStillRunsToItsEnd) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.closeStandardStreams();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_TRUE(run.account().endsWith(u"--- exit status\n0\n"_s));
}

TEST(Launch, WithBlockedAndIgnoredSignalsStillEndsInAnOrderlyWay) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.blockSignals();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    // Children that end have to be noticed: by us, and by what we start.
    const QByteArray status = test::readFile(u"/proc/"_s + QString::number(run.process()) + u"/status"_s);
    const qsizetype blocked = status.indexOf("SigBlk:\t") + 8;
    EXPECT_EQ(status.mid(blocked, 16).toULongLong(nullptr, 16) >> (SIGCHLD - 1) & 1U, 0U) << status.toStdString();
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_TRUE(run.account().endsWith(u"--- exit status\n0\n"_s));
}

TEST(Launch, StartsEachProbeToolOnce) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.putSystemTool(u"/sbin/ifconfig"_s, "echo ifconfig >> \"$HOME/tools\"\necho 'ether a4:83:e7:12:34:56'\n");
    run.putSystemTool(u"/usr/sbin/system_profiler"_s,
                      "echo profiler >> \"$HOME/tools\"\necho 'Processor Name: Sample'\n");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    QByteArrayList tools = test::readFile(run.folder() + u"/home/tools"_s).trimmed().split('\n');
    std::ranges::sort(tools);
    EXPECT_EQ(tools, (QByteArrayList{"ifconfig", "profiler"}));
}

TEST(Launch, HandsItsOwnToolsOnToTheInstallerBehindAllOthersOfThePath) {
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    QMap<QString, QByteArray> installer = sampleInstaller(u"Setup"_s);
    for (QByteArray& file : installer) {
        file.replace("#!/bin/sh\n", "#!/bin/sh\necho \"$PATH\" > \"$HOME/path\"\n");
    }
    run.portal().expect("GET /files/Kit.dmg", loopback::replyWith(diskImage(u"Kit Setup"_s, installer).toStdString(),
                                                                  "application/octet-stream"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    const QString tools = run.folder() + u"/Product.app/Contents/SystemRoot/"_s;
    EXPECT_EQ(QString::fromUtf8(test::readFile(run.folder() + u"/home/path"_s)),
              run.folder() + u"/bin:/usr/bin:/bin:"_s + tools + u"usr/bin:"_s + tools + u"usr/sbin:"_s + tools +
                  u"sbin\n"_s);
}

TEST(Launch, OpensTheLogTwiceForEachEntry) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.traceOpens();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    const QByteArray trace = test::readFile(run.folder() + u"/opens"_s);
    qsizetype opens = 0;
    qsizetype creations = 0;
    for (const QByteArray& line : trace.split('\n')) {
        if (line.contains("/install.log\"") && line.contains("O_WRONLY")) {
            ++opens;
            creations += line.contains("O_CREAT") ? 1 : 0;
        }
    }
    // The first entry finds no file: a third open, and one that makes the file.
    EXPECT_EQ(creations, 1);
    EXPECT_EQ(opens, 2 * lineCount(run) + 2) << trace.toStdString();
}

TEST(Launch, LoadsTheLibraryForRequestsOnlyAfterItsFirstPicture) {
    InstallerRun run;
    run.expectConfiguration("{}");
    run.traceOpens();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    const QByteArray trace = test::readFile(run.folder() + u"/opens"_s);
    const qsizetype picture = trace.indexOf("/connecting_Spinner");
    EXPECT_GE(picture, 0) << trace.toStdString();
    EXPECT_GT(trace.indexOf("/libcurl.so.4"), picture) << trace.toStdString();
}

TEST(Launch, ShowsTheErrorScreenAndSaysWhyWithoutTheLibraryForRequests) {
    const QString library = libraryForRequests();
    ASSERT_FALSE(library.isEmpty());
    InstallerRun run;
    run.emptyFile(library);
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    EXPECT_TRUE(run.console().contains(u"Nothing can be requested: "_s + library + u": file too short\n"_s))
        << run.console().toStdString();
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
}

TEST(Launch, StartsNoSessionBusAndTellsItsProgramsOfNone) {
    InstallerRun run;
    run.putProgram(u"dbus-launch"_s, "touch \"$HOME/asked-for-a-bus\"\n");
    run.putProgram(u"xdg-open"_s, "echo \"${DBUS_SESSION_BUS_ADDRESS-unset}\" >> \"$HOME/bus-address\"\n");
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    EXPECT_EQ(run.exitStatus(), 0);
    EXPECT_FALSE(QFile::exists(run.folder() + u"/home/asked-for-a-bus"_s));
    EXPECT_EQ(test::readFile(run.folder() + u"/home/bus-address"_s), "unset\n");
}
