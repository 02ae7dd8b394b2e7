#include "tests/e2e/InstallerRun.h"
#include "tests/support/ScreenReader.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Each screen of the program as a screen reader finds it, and each thing on it that can be pressed, pressed by its
// action alone: no mouse, no keyboard.

namespace {

const QByteArray kNoRoute = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n";
const QByteArray kRoute = kNoRoute + "eth0\t00000000\t0100000A\t0003\t0\t0\t0\t00000000\n";

const QStringList kConnecting{u"frame: Kit"_s, u"animation: Connecting…"_s, u"label: Connecting…"_s,
                              u"push button: Quit"_s};

const QStringList kNoInternet{u"frame: Kit"_s,
                              u"alert message: No internet connection"_s,
                              u"label: No internet connection"_s,
                              u"label: Please check your connection and try again."_s,
                              u"push button: Try again"_s,
                              u"push button: Quit"_s};

const QStringList kError{
    u"frame: Kit"_s,
    u"alert message: Installation failed"_s,
    u"label: Installation failed"_s,
    u"label: Something went wrong. You can download and install the latest version yourself, or click here for more help."_s,
    u"link: download and install the latest version"_s,
    u"link: click here"_s,
    u"push button: Close"_s,
    u"push button: Contact support"_s,
    u"label: Need help? Visit our help site"_s,
    u"link: Visit our help site"_s,
    u"push button: Quit"_s};

const QStringList kDownload{u"frame: Kit"_s,
                            u"alert message: Get the latest version"_s,
                            u"label: Get the latest version"_s,
                            u"label: Press Download to get the latest version, or open the download page."_s,
                            u"link: open the download page"_s,
                            u"push button: Download"_s,
                            u"push button: Contact support"_s,
                            u"label: Need help? Visit our help site"_s,
                            u"link: Visit our help site"_s,
                            u"push button: Quit"_s};

class AssistiveTechnology : public testing::Test {
protected:
    AssistiveTechnology() {
        run_.setEnvironment(u"DBUS_SESSION_BUS_ADDRESS"_s, reader_.sessionBus());
        run_.setEnvironment(u"LANG"_s, u"en_US.UTF-8"_s);
        QVariantMap settings = test::infoPlist().value(u"QNConfig"_s).toMap();
        settings.insert(u"visitOnlineHelpSiteUrl"_s, u"https://h/help"_s);
        settings.insert(u"downloadAndInstallLatestVersionUrl"_s, u"https://h/latest"_s);
        settings.insert(u"clickHereUrl"_s, u"https://h/here"_s);
        run_.setInfo(u"QNConfig"_s, settings);
    }

    void startConnecting() {
        loopback::Reply never;
        never.cutAfter = 0;
        never.ending = loopback::Ending::kStall;
        run_.portal().expect("GET /config.json?a=1&b=2", never);
        run_.start();
    }
    void startWithoutInternet() {
        run_.putSystemFile(u"/proc/net/route"_s, kNoRoute);
        run_.start();
    }
    void startWithError() {
        run_.expectConfiguration("<html>maintenance</html>");
        run_.start();
    }
    void startWithDownload() {
        run_.expectConfiguration(run_.linkDocument("ask"));
        run_.expectAnalytics();
        run_.start();
    }

    // Presses what ends the program, which then opens no more than `opened`.
    void expectEndBy(const QString& button, const QStringList& opened = {}) {
        EXPECT_TRUE(reader_.press(button));
        EXPECT_TRUE(run_.waitForEnd());
        EXPECT_EQ(run_.exitStatus(), 0);
        EXPECT_EQ(run_.openedAddresses(static_cast<int>(opened.size())), opened);
    }
    // Presses what nobody answers: the screen stays, and nothing is opened.
    void expectNothingBy(const QString& button, const QStringList& screen) {
        const QByteArray log = test::readFile(run_.logPath());
        EXPECT_TRUE(reader_.press(button));
        EXPECT_EQ(reader_.announced(), screen);
        EXPECT_EQ(run_.openedAddresses(0), QStringList());
        EXPECT_EQ(test::readFile(run_.logPath()), log);
    }
    qsizetype timesLogged(const QByteArray& message) { return test::readFile(run_.logPath()).count(message); }

    ScreenReader reader_;
    InstallerRun run_;
};

const QString kQuit = u"push button: Quit"_s;

} // namespace

TEST_F(AssistiveTechnology, FindsTheConnectingScreenAndQuitsByItsCross) {
    startConnecting();
    EXPECT_EQ(reader_.announcedOnce(kConnecting), kConnecting);
    EXPECT_EQ(reader_.pressable(), QStringList{kQuit});
    expectEndBy(kQuit);
}

TEST_F(AssistiveTechnology, FindsTheNoInternetScreenAndTriesAgainByItsButtonUntilItConnects) {
    startWithoutInternet();
    EXPECT_EQ(reader_.announcedOnce(kNoInternet), kNoInternet);
    EXPECT_EQ(reader_.pressable(), (QStringList{u"push button: Try again"_s, kQuit}));
    EXPECT_EQ(timesLogged("Show NoInternet screen"), 1);
    EXPECT_TRUE(reader_.press(u"push button: Try again"_s));
    EXPECT_TRUE(test::waitFor([this] { return timesLogged("Show NoInternet screen") == 2; }));
    EXPECT_EQ(reader_.announcedOnce(kNoInternet), kNoInternet);
    run_.putSystemFile(u"/proc/net/route"_s, kRoute);
    loopback::Reply never;
    never.cutAfter = 0;
    never.ending = loopback::Ending::kStall;
    run_.portal().expect("GET /config.json?a=1&b=2", never);
    EXPECT_TRUE(reader_.press(u"push button: Try again"_s));
    EXPECT_TRUE(run_.portal().waitForRequests(1));
    EXPECT_EQ(reader_.announcedOnce(kConnecting), kConnecting);
}

TEST_F(AssistiveTechnology, QuitsByTheCrossOfTheNoInternetScreen) {
    startWithoutInternet();
    EXPECT_EQ(reader_.announcedOnce(kNoInternet), kNoInternet);
    expectEndBy(kQuit);
}

TEST_F(AssistiveTechnology, FindsTheErrorScreenOpensItsLinksAndQuitsByItsButton) {
    startWithError();
    EXPECT_EQ(reader_.announcedOnce(kError), kError);
    EXPECT_EQ(
        reader_.pressable(),
        (QStringList{u"link: download and install the latest version"_s, u"link: click here"_s, u"push button: Close"_s,
                     u"push button: Contact support"_s, u"link: Visit our help site"_s, kQuit}));
    expectNothingBy(u"push button: Contact support"_s, kError);
    EXPECT_TRUE(reader_.press(u"link: download and install the latest version"_s));
    EXPECT_EQ(run_.openedAddresses(1), QStringList{u"https://h/latest"_s});
    EXPECT_TRUE(reader_.press(u"link: click here"_s));
    EXPECT_EQ(run_.openedAddresses(2), (QStringList{u"https://h/latest"_s, u"https://h/here"_s}));
    EXPECT_TRUE(reader_.press(u"link: Visit our help site"_s));
    const QStringList all{u"https://h/latest"_s, u"https://h/here"_s, u"https://h/help"_s};
    EXPECT_EQ(run_.openedAddresses(3), all);
    EXPECT_EQ(reader_.announced(), kError);
    expectEndBy(u"push button: Close"_s, all);
}

TEST_F(AssistiveTechnology, QuitsByTheCrossOfTheErrorScreen) {
    startWithError();
    EXPECT_EQ(reader_.announcedOnce(kError), kError);
    expectEndBy(kQuit);
}

TEST_F(AssistiveTechnology, FindsTheDownloadScreenOpensItsLinksAndDownloadsAndQuitsByItsButton) {
    startWithDownload();
    EXPECT_EQ(reader_.announcedOnce(kDownload), kDownload);
    EXPECT_EQ(reader_.pressable(),
              (QStringList{u"link: open the download page"_s, u"push button: Download"_s,
                           u"push button: Contact support"_s, u"link: Visit our help site"_s, kQuit}));
    expectNothingBy(u"push button: Contact support"_s, kDownload);
    const QString action = u"https://www.example.com/get?x=%41"_s;
    EXPECT_TRUE(reader_.press(u"link: open the download page"_s));
    EXPECT_EQ(run_.openedAddresses(1), QStringList{action});
    EXPECT_TRUE(reader_.press(u"link: Visit our help site"_s));
    EXPECT_EQ(run_.openedAddresses(2), (QStringList{action, u"https://h/help"_s}));
    expectEndBy(u"push button: Download"_s, {action, u"https://h/help"_s, action});
}

TEST_F(AssistiveTechnology, QuitsByTheCrossOfTheDownloadScreenWithoutOpeningAnything) {
    startWithDownload();
    EXPECT_EQ(reader_.announcedOnce(kDownload), kDownload);
    expectEndBy(kQuit);
}
