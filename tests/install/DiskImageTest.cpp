#include "config/QNConfig.h"
#include "install/DownloadingStartDate.h"
#include "platform/Folders.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/install/ControllerTest.h"
#include "tests/support/TestEnvironment.h"
#include "ui/QNMainController.h"
#include "ui/View.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kMounts = "[ \"$1\" = mount ] && printf '/dev/disk2          \\tApple_HFS\\t/Volumes/Kit Setup\\n'\n";
const QString kUrl = u"http://127.0.0.1:1/Kit.dmg"_s;
const QVariantMap kConfigFailure{{u"EVT"_s, u"Config"_s}, {u"RSLT"_s, u"FAIL"_s}, {u"RSN"_s, u"Configuration error"_s}};

UrlResponse http(int status) {
    return {.address = kUrl, .isHttp = true, .statusCode = status, .suggestedFilename = u"Kit.dmg"_s};
}

// The file as the session leaves it.
QString downloadedFile(const QString& folder = platform::temporaryDirectory().value_or(QString())) {
    const QString path = folder + u"/CFNetworkDownload_abc123.tmp"_s;
    test::writeFile(path, "image");
    return path;
}

QString volume(const QString& path) {
    return u"/Volumes/Kit Setup/"_s + path;
}

void putInstaller(const QString& application, const QByteArray& script) {
    test::putSystemFile(volume(application + u".app/Contents/Info.plist"_s),
                        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
                        "<string>run me</string><key>CFBundleIdentifier</key><string>com.example.setup</string>"
                        "</dict></plist>");
    test::putSystemTool(volume(application + u".app/Contents/MacOS/run me"_s), "#!/bin/sh\n" + script);
}

} // namespace

class DiskImage : public ControllerTest {
protected:
    DiskImage() {
        controller().setConfig(installConfig());
        setDownloadingStartDate(std::chrono::system_clock::now());
    }

    void finish(const UrlResponse& response, const QString& location) {
        controller().URLSessionDownloadTaskDidFinishDownloadingToURL(response, location);
    }
    void finish() { finish(http(200), downloadedFile()); }

    // The messages of a pass up to the mount, then `rest`.
    QStringList afterMount(const QStringList& rest) const {
        const QString image = platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s;
        const QString download =
            platform::temporaryDirectory().value_or(QString()) + u"/CFNetworkDownload_abc123.tmp"_s;
        QStringList seen{u"Download completed: "_s + kUrl,
                         u"Download took: SECONDS seconds"_s,
                         u"event Download"_s,
                         u"Copied "_s + download + u" to "_s + image,
                         u"Mounting: "_s + image,
                         u"Running command: /usr/bin/hdiutil attach "_s + image};
        return seen + rest;
    }

    QStringList maskedMessages() const {
        static const QRegularExpression seconds(u"took: \\d+\\.\\d{6} seconds"_s);
        return messages().replaceInStrings(seconds, u"took: SECONDS seconds"_s);
    }

    // Fails the case unless the pass ended on the generic error screen, with the event last and the view shown.
    void expectFailure(const QStringList& rest) {
        EXPECT_EQ(maskedMessages(), afterMount(rest + QStringList{u"Show generic error screen."_s, u"event Config"_s}));
        EXPECT_EQ(events().last(), kConfigFailure);
        EXPECT_FALSE(controller().isViewHidden());
        EXPECT_FALSE(controller().errorView()->isHidden());
    }
};

TEST_F(DiskImage, FailsForEveryStatusButTwoHundred) {
    for (const int status : {404, 201, 204, 206, 304, 500}) {
        const qsizetype before = messages().size();
        const qsizetype eventsBefore = events().size();
        finish(http(status), downloadedFile());
        const QString reason = u"HTTP Response with status code "_s + QString::number(status);
        EXPECT_EQ(messages().mid(before),
                  (QStringList{u"Download failed: "_s + kUrl + u" (error = "_s + reason + u")"_s,
                               u"Show generic error screen."_s, u"event Download"_s}));
        EXPECT_EQ(events().mid(eventsBefore), (QList<QVariantMap>{{{u"EVT"_s, u"Download"_s},
                                                                   {u"RSLT"_s, u"FAIL"_s},
                                                                   {u"URL"_s, kUrl},
                                                                   {u"RSN"_s, reason},
                                                                   {u"T"_s, u"seconds"_s}}}));
    }
}

TEST_F(DiskImage, LeavesTheFileOfAFailedDownloadWhereItIs) {
    const QString location = downloadedFile();
    finish(http(404), location);
    EXPECT_TRUE(QFile::exists(location));
}

TEST_F(DiskImage, ShowsTheViewBeforeTheScreenAndTheScreenBeforeTheEvent) {
    controller().setViewHidden(true);
    bool viewWasThere = false;
    bool screenWasThere = false;
    NotificationCenter::defaultCenter().addObserver(kLogAnalytics, [&](const Notification&) {
        viewWasThere = !controller().isViewHidden();
        screenWasThere = messages().contains(u"Show generic error screen."_s);
    });
    finish(http(404), downloadedFile());
    EXPECT_TRUE(viewWasThere);
    EXPECT_TRUE(screenWasThere);
}

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

TEST_F(DiskImage, FailsWhenTheToolPrintsNothing) {
    fakeDiskImageTool("true\n");
    finish();
    expectFailure({u"DMG mount error. Please check the contents of DMG file from config."_s});
}

TEST_F(DiskImage, FailsWhenOnlyBlanksFollowTheVolumesFolder) {
    fakeDiskImageTool("printf 'x\\t/Volumes/ \\t '\n");
    finish();
    expectFailure({u"DMG mount error. Please check the contents of DMG file from config."_s});
}

TEST_F(DiskImage, FailsWithAMessageOfItsOwnWhenALineEndFollowsTheVolumesFolder) {
    fakeDiskImageTool("printf 'x\\t/Volumes/ \\nName\\n'\n");
    finish();
    expectFailure({u"DMG mount error. Please check the DMG file from config."_s});
    EXPECT_FALSE(controller().spinnerView()->isVisible());
}

TEST_F(DiskImage, FailsWhenTheVolumeCannotBeListed) {
    fakeDiskImageTool(kMounts);
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"Empty dmg file! Please check the DMG file from config."_s});
}

TEST_F(DiskImage, FailsWhenTheVolumeIsEmpty) {
    fakeDiskImageTool(kMounts);
    QDir().mkpath(test::systemRoot() + volume(QString()));
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"Empty dmg file! Please check the DMG file from config."_s});
}

TEST_F(DiskImage, FailsWithoutAnApplicationAndWithTwoAlike) {
    const QString message = u"Executable error: No/More than one executable to run is present inside dmg file. Please "
                            "check the DMG file from config."_s;
    fakeDiskImageTool(kMounts);
    test::putSystemFile(volume(u"Setup.APP/x"_s), "");
    finish();
    expectFailure({u"Closing Connecting screen."_s, message});
    putInstaller(u"Setup"_s, "");
    putInstaller(u"Uninstall"_s, "");
    finish();
    EXPECT_EQ(messages().count(message), 2);
}

TEST_F(DiskImage, FailsWhenTheApplicationIsALinkToNowhere) {
    fakeDiskImageTool(kMounts);
    QDir().mkpath(test::systemRoot() + volume(QString()));
    QFile::link(u"nowhere"_s, test::systemRoot() + volume(u"Setup.app"_s));
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"DMG mounted. Running command: /Volumes/Kit Setup/Setup.app"_s,
                   u"\"/Volumes/Kit Setup/Setup.app \"path does not exist."_s});
}

TEST_F(DiskImage, LeavesTheVolumeMountedAndTheFileInPlaceAfterAFailure) {
    fakeDiskImageTool(QByteArray("echo \"$1\" >> \"$HOME/verbs\"\n") + kMounts);
    finish();
    EXPECT_EQ(test::readFile(test::home() + u"/verbs"_s), "mount\n");
    EXPECT_TRUE(QFile::exists(platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s));
}

TEST_F(DiskImage, OnlyLogsAnExceptionAndLeavesTheWindowAsItIs) {
    fakeDiskImageTool("echo no volume here\n");
    controller().setViewHidden(false);
    finish();
    EXPECT_EQ(maskedMessages(),
              afterMount({u"Unmount DMG error: *** -[__NSCFString substringFromIndex:]: Index 9223372036854775807 out "
                          "of bounds; string length 15"_s}));
    EXPECT_EQ(events().size(), 1);
    EXPECT_FALSE(controller().isViewHidden());
}

TEST_F(DiskImage, OnlyLogsAnInstallerThatCannotBeLaunchedAndKeepsTheWindowHidden) {
    fakeDiskImageTool(kMounts);
    test::putSystemFile(volume(u"Setup.app/readme"_s), "no executable");
    finish();
    EXPECT_EQ(messages().last(), u"Unmount DMG error: must provide a launch path"_s);
    EXPECT_TRUE(controller().isViewHidden());
    EXPECT_EQ(events().size(), 1);
}

TEST_F(DiskImage, FailsToFindTheImageBelowAFolderThatNeedsEscaping) {
    // The move goes to the escaped name of the folder, which does not exist; the tool is given a path without a file.
    fakeDiskImageTool("[ -e \"$2\" ] && echo /Volumes/Kit\necho \"$2\" > \"$HOME/tool\"\n");
    const QString folder = test::folder() + u"/with blank"_s;
    const QString location = downloadedFile(folder);
    finish(http(200), location);
    EXPECT_EQ(test::readFile(test::home() + u"/tool"_s), (test::folder() + u"/with%20blank/Kit.dmg\n"_s).toUtf8());
    EXPECT_TRUE(messages().contains(u"Copied "_s + location + u" to "_s + folder + u"/Kit.dmg"_s));
    EXPECT_TRUE(messages().contains(u"DMG mount error. Please check the contents of DMG file from config."_s));
}

TEST_F(DiskImage, RunsTheInstallerDetachesAndQuits) {
    fakeDiskImageTool(QByteArray("echo \"$1|$2\" >> \"$HOME/tool\"\n") + kMounts);
    putInstaller(u"Setup"_s, "echo \"$#|$1\" > \"$HOME/arguments\"\necho 'PROGRESS: 1/2'\n");
    const QString image = platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s;
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
        EXPECT_FALSE(controller().spinnerView()->isVisible());
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
