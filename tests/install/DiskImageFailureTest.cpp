#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/install/DiskImageTest.h"
#include "tests/support/TestEnvironment.h"
#include "ui/View.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

const QVariantMap kConfigFailure{{u"EVT"_s, u"Config"_s}, {u"RSLT"_s, u"FAIL"_s}, {u"RSN"_s, u"Configuration error"_s}};

} // namespace

class DiskImageFailure : public DiskImage {
protected:
    DiskImageFailure() { controller().spinnerView()->setHidden(false); }

    // Fails the case unless the pass ended on the generic error screen, with the event last and the view shown.
    void expectFailure(const QStringList& rest) {
        EXPECT_EQ(maskedMessages(), afterMount(rest + QStringList{u"Show generic error screen."_s, u"event Config"_s}));
        EXPECT_EQ(events().last(), kConfigFailure);
        EXPECT_FALSE(controller().isViewHidden());
        EXPECT_FALSE(controller().errorView()->isHidden());
    }
};

TEST_F(DiskImageFailure, FailsForEveryStatusButTwoHundred) {
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

TEST_F(DiskImageFailure, LeavesTheFileOfAFailedDownloadWhereItIs) {
    const QString location = downloadedFile();
    finish(http(404), location);
    EXPECT_TRUE(QFile::exists(location));
}

TEST_F(DiskImageFailure, ShowsTheViewBeforeTheScreenAndTheScreenBeforeTheEvent) {
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

TEST_F(DiskImageFailure, FailsWhenTheToolPrintsNothing) {
    fakeDiskImageTool("true\n");
    EXPECT_EQ(test::consoleLinesOf([this] { finish(); }).filter(u"folder for downloads"_s), QStringList());
    expectFailure({u"DMG mount error. Please check the contents of DMG file from config."_s});
}

TEST_F(DiskImageFailure, FailsWhenOnlyBlanksFollowTheVolumesFolder) {
    fakeDiskImageTool("printf 'x\\t/Volumes/ \\t '\n");
    finish();
    expectFailure({u"DMG mount error. Please check the contents of DMG file from config."_s});
}

TEST_F(DiskImageFailure, FailsWithAMessageOfItsOwnWhenALineEndFollowsTheVolumesFolder) {
    fakeDiskImageTool("printf 'x\\t/Volumes/ \\nName\\n'\n");
    finish();
    expectFailure({u"DMG mount error. Please check the DMG file from config."_s});
}

TEST_F(DiskImageFailure, FailsWhenTheVolumeCannotBeListed) {
    fakeDiskImageTool(kMounts);
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"Empty dmg file! Please check the DMG file from config."_s});
}

TEST_F(DiskImageFailure, FailsWhenTheVolumeIsEmpty) {
    fakeDiskImageTool(kMounts);
    QDir().mkpath(test::systemRoot() + volume(QString()));
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"Empty dmg file! Please check the DMG file from config."_s});
}

TEST_F(DiskImageFailure, FailsWithoutAnApplicationAndWithTwoAlike) {
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

TEST_F(DiskImageFailure, FailsWhenTheApplicationIsALinkToNowhere) {
    fakeDiskImageTool(kMounts);
    QDir().mkpath(test::systemRoot() + volume(QString()));
    QFile::link(u"nowhere"_s, test::systemRoot() + volume(u"Setup.app"_s));
    finish();
    expectFailure({u"Closing Connecting screen."_s, u"DMG mounted. Running command: /Volumes/Kit Setup/Setup.app"_s,
                   u"\"/Volumes/Kit Setup/Setup.app \"path does not exist."_s});
}

TEST_F(DiskImageFailure, LeavesTheVolumeMountedAndTheFileInPlaceAfterAFailure) {
    fakeDiskImageTool(QByteArray("echo \"$1\" >> \"$HOME/verbs\"\n") + kMounts);
    finish();
    EXPECT_EQ(test::readFile(test::home() + u"/verbs"_s), "mount\n");
    EXPECT_TRUE(QFile::exists(platform::temporaryDirectory().value_or(QString()) + u"/Kit.dmg"_s));
}

TEST_F(DiskImageFailure, FailsToFindTheImageBelowAFolderThatNeedsEscaping) {
    // The move goes to the escaped name of the folder, which does not exist; the tool is given a path without a file.
    fakeDiskImageTool("[ -e \"$2\" ] && echo /Volumes/Kit\necho \"$2\" > \"$HOME/tool\"\n");
    const QString folder = test::folder() + u"/with blank"_s;
    const QString location = downloadedFile(folder);
    const QStringList console = test::consoleLinesOf([&] { finish(http(200), location); });
    const auto hints = console.filter(u"The folder for downloads, "_s + folder + u", has characters that"_s);
    EXPECT_EQ(hints.size(), 1) << "the log does not tell the cause";
    EXPECT_EQ(test::readFile(test::home() + u"/tool"_s), (test::folder() + u"/with%20blank/Kit.dmg\n"_s).toUtf8());
    EXPECT_TRUE(messages().contains(u"Copied "_s + location + u" to "_s + folder + u"/Kit.dmg"_s));
    EXPECT_TRUE(messages().contains(u"DMG mount error. Please check the contents of DMG file from config."_s));
}

// The spinner and the view: shown before the volume is known, hidden after.
TEST_F(DiskImageFailure, OnlyLogsAnExceptionAndLeavesTheWindowAsItIs) {
    fakeDiskImageTool("echo no volume here\n");
    controller().setViewHidden(false);
    finish();
    EXPECT_EQ(maskedMessages(),
              afterMount({u"Unmount DMG error: *** -[__NSCFString substringFromIndex:]: Index 9223372036854775807 out "
                          "of bounds; string length 15"_s}));
    EXPECT_EQ(events().size(), 1);
    EXPECT_FALSE(controller().isViewHidden());
    EXPECT_FALSE(controller().spinnerView()->isHidden());
}

TEST_F(DiskImageFailure, OnlyLogsAnInstallerThatCannotBeLaunchedAndKeepsTheWindowHidden) {
    fakeDiskImageTool(kMounts);
    test::putSystemFile(volume(u"Setup.app/readme"_s), "no executable");
    finish();
    EXPECT_EQ(messages().last(), u"Unmount DMG error: must provide a launch path"_s);
    EXPECT_TRUE(controller().isViewHidden());
    EXPECT_TRUE(controller().spinnerView()->isHidden());
    EXPECT_EQ(events().size(), 1);
}
