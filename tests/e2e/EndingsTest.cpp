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

class ForeignLocale : public testing::TestWithParam<const char*> {};

TEST_P(ForeignLocale, ChangesNothingOfTheRun) {
    InstallerRun run;
    run.setEnvironment(u"LC_ALL"_s, QString::fromLatin1(GetParam()));
    run.putSystemFile(u"/proc/net/route"_s, "");
    run.start();
    ASSERT_TRUE(run.waitForMessage(u"Show NoInternet screen"_s));
    run.askToEnd();
    ASSERT_TRUE(run.waitForEnd());
    expectAccount(run.account(), u"no-internet"_s);
}

INSTANTIATE_TEST_SUITE_P(Ending, ForeignLocale, testing::Values("de_AT", "de_AT.ISO-8859-1", "de_AT.nonsense"),
                         [](const auto& instance) { return "Nr" + std::to_string(instance.index + 1); });

TEST(Ending, InTheSmallestLocaleNamesAndTextsStayWholeAndProgramsGetThatLocale) {
    InstallerRun run;
    run.setEnvironment(u"LC_ALL"_s, u"C"_s);
    run.expectConfiguration(run.installDocument(u"/files/K%C3%A4se.dmg"_s));
    QMap<QString, QByteArray> installer = sampleInstaller(u"Sëtup 日本"_s);
    for (QByteArray& file : installer) {
        file.replace("#!/bin/sh\n", "#!/bin/sh\necho \"$LC_ALL ${FC_LANG-unset}\" > \"$HOME/locale\"\n");
    }
    run.portal().expect("GET /files/K%C3%A4se.dmg", imageReply(diskImage(u"Kït 安装"_s, installer)));
    run.expectAnalytics();
    run.start();
    ASSERT_TRUE(run.waitForEnd());
    const QString account = run.account().normalized(QString::NormalizationForm_C); // HFS+ takes letters apart
    EXPECT_FALSE(account.contains(u"| Qt: "_s)) << account.toStdString();
    EXPECT_TRUE(account.contains(u"/Käse.dmg"_s)) << account.toStdString();
    EXPECT_TRUE(account.contains(u"/Volumes/Kït 安装/Sëtup 日本.app"_s)) << account.toStdString();
    EXPECT_EQ(test::readFile(run.folder() + u"/home/locale"_s), "C unset\n");
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

TEST(Ending, AnEncryptedImageShowsTheErrorScreenAndNobodyIsAskedForAPassword) {
    expectFailed(imageReply(test::readFile(QString::fromUtf8(DISK_IMAGES "/encrypted.dmg"))), u"encrypted-image"_s);
}

TEST(Ending, AnImageWithTwoApplicationsShowsTheErrorScreen) {
    expectFailed(imageReply(diskImage(u"Kit Setup"_s, twoInstallers())), u"two-apps"_s);
}
