#include "tests/e2e/InstallerRun.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QMap<QString, QByteArray> twoInstallers() {
    QMap<QString, QByteArray> files = sampleInstaller(u"Setup"_s);
    files.insert(sampleInstaller(u"Uninstall"_s));
    return files;
}

loopback::Reply imageReply(const QByteArray& image) {
    return loopback::replyWith(image.toStdString(), "application/octet-stream");
}

// The run quits by itself, and what happened is as written down.
void expectInstalled(const QByteArray& arguments, const QMap<QString, QByteArray>& installer, const QString& account) {
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s, arguments));
    run.portal().expect("GET /files/Kit.dmg", imageReply(diskImage(u"Kit Setup"_s, installer)));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), account);
}

// The run stays on the error screen and ends when asked to; `image` is what the portal answers for the image.
void expectFailed(const loopback::Reply& image, const QString& account) {
    InstallerRun run;
    run.expectConfiguration(run.installDocument(u"/files/Kit.dmg"_s));
    run.portal().expect("GET /files/Kit.dmg", image);
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), account);
}

} // namespace

TEST(Ending, InstallRunsTheInstallerFromTheImageAndQuits) {
    expectInstalled("--a --b", sampleInstaller(u"Setup"_s), u"install"_s);
}

TEST(Ending, InstallWithoutArgumentsHandsNoneToTheInstallerAndLogsItsFailureAsZero) {
    expectInstalled("", sampleInstaller(u"Setup"_s, 3), u"install-failing-installer"_s);
}

TEST(Ending, OpenLinkWithAutoOpenOpensTheLinkAndQuits) {
    InstallerRun run;
    run.expectConfiguration(run.linkDocument("autoOpen"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"open-link-auto"_s);
}

TEST(Ending, OpenLinkWithoutAutoOpenShowsTheDownloadScreenAndWaits) {
    InstallerRun run;
    run.expectConfiguration(run.linkDocument("ask"));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show generic download screen."_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"open-link"_s);
}

TEST(Ending, NoInternetShowsItsScreenAndAsksNobody) {
    InstallerRun run;
    run.putSystemFile(u"/proc/net/route"_s, "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"no-internet"_s);
}

TEST(Ending, AConfigurationThatIsNoJsonShowsTheErrorScreen) {
    InstallerRun run;
    run.expectConfiguration("<html>maintenance</html>");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show generic error screen."_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"config-error"_s);
}

TEST(Ending, AMissingImageShowsTheErrorScreen) {
    expectFailed(loopback::replyWithStatus(404, "not here"), u"http-404"_s);
}

TEST(Ending, AnImageThatIsNoneShowsTheErrorScreen) {
    expectFailed(imageReply(QByteArray("garbage ").repeated(1000)), u"bad-image"_s);
}

TEST(Ending, AnImageWithTwoApplicationsShowsTheErrorScreen) {
    expectFailed(imageReply(diskImage(u"Kit Setup"_s, twoInstallers())), u"two-apps"_s);
}
