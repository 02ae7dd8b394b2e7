#include "config/QNConfig.h"
#include "install/BlockingWait.h"
#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/install/ControllerTest.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"
#include "ui/MainMenu.h"
#include "ui/QNAlertController.h"
#include "ui/QNButton.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAction>
#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

QList<std::chrono::milliseconds> waits;

void recordWait(std::chrono::milliseconds duration) {
    waits += duration;
}

QVariantMap failedConfig() {
    return {
        {u"EVT"_s, u"Config"_s}, {u"RSLT"_s, u"FAIL"_s}, {u"RSN"_s, u"Configuration error"_s}, {u"T"_s, u"seconds"_s}};
}

} // namespace

class Flow : public ControllerTest {
protected:
    // Starts a run against a portal that answers with `document`, and waits for its "Config" event.
    void runWith(const QByteArray& document) {
        server_.expect("GET /config.json", loopback::replyWith(document.toStdString()));
        test::setSetting(u"DEV1_URL"_s, QString::fromStdString(server_.address("/config.json")));
        controller();
        goOnline();
        controller().startInstallation();
        ASSERT_TRUE(test::waitFor([this] { return !events().isEmpty(); }));
    }

private:
    loopback::LoopbackServer server_;
};

TEST_F(Flow, SendsStartBeforeAnythingElseWhenTheViewIsLoaded) {
    test::putSystemFile(u"/proc/cpuinfo"_s, "model name\t: Sample CPU\n");
    const QNMainController& loaded = controller();
    const QStringList log = test::eventLogMessages();
    ASSERT_EQ(log.size(), 2);
    for (const QString& part :
         {u"\"EVT\":\"Start\""_s, u"\"SR\":\"1280x800\""_s, u"\"Proc\":\"Sample CPU\""_s, u"\"ProcType\":\""_s}) {
        EXPECT_TRUE(log[0].contains(part)) << log[0].toStdString();
    }
    EXPECT_EQ(log[1], u"Show NoInternet screen"_s);
    EXPECT_TRUE(loaded.closeWithoutCheck());
    EXPECT_FALSE(loaded.forceInstall());
    EXPECT_EQ(loaded.isLaunchOrNot(), 0);
    EXPECT_TRUE(loaded.launchButton()->isHidden());
    EXPECT_NE(loaded.spinner(), nullptr);
}

TEST_F(Flow, ShowsTheNoInternetScreenWithoutAConnection) {
    EXPECT_FALSE(controller().errorView()->isHidden());
    EXPECT_TRUE(controller().spinnerView()->isHidden());
    EXPECT_FALSE(controller().isViewHidden());
}

TEST_F(Flow, RunsTheWholeStartAgainOnRetry) {
    controller();
    NotificationCenter::defaultCenter().post(kStartInstallation);
    EXPECT_EQ(messages(), QStringList{u"Show NoInternet screen"_s});
    goOnline();
    NotificationCenter::defaultCenter().post(kStartInstallation);
    EXPECT_EQ(messages().value(1), u"Show Connecting screen"_s);
    EXPECT_FALSE(controller().spinnerView()->isHidden());
    EXPECT_TRUE(controller().errorView()->isHidden());
    EXPECT_TRUE(controller().installView()->isHidden());
    EXPECT_TRUE(controller().pageView()->isHidden());
}

TEST_F(Flow, AcceptsAnyOtherActionAndThenWaits) {
    runWith(R"({"userAction": [{"action": "update", "isActive": "1"}]})");
    EXPECT_EQ(events(),
              (QList<QVariantMap>{{{u"EVT"_s, u"Config"_s}, {u"RSLT"_s, u"PASS"_s}, {u"T"_s, u"seconds"_s}}}));
    const QStringList log = messages();
    ASSERT_EQ(log.size(), 4);
    EXPECT_EQ(log[0], u"Show Connecting screen"_s);
    EXPECT_EQ(log[1], u"Config successful"_s);
    EXPECT_TRUE(QRegularExpression(u"^Config successful\\. Took \\d+\\.\\d{6} seconds$"_s).match(log[2]).hasMatch())
        << log[2].toStdString();
    EXPECT_EQ(log[3], u"event Config"_s);
    EXPECT_FALSE(controller().spinnerView()->isHidden());
    ASSERT_TRUE(controller().config());
    EXPECT_EQ(controller().config()->defaultAction(), u"update"_s);
}

TEST_F(Flow, RejectsAConfigurationWithoutAnActiveAction) {
    runWith(R"({"userAction": [{"action": "install", "isActive": "0"}]})");
    EXPECT_EQ(events(), QList<QVariantMap>{failedConfig()});
    EXPECT_EQ(messages(), (QStringList{u"Show Connecting screen"_s, u"Config successful"_s,
                                       u"Show generic error screen."_s, u"event Config"_s}));
    EXPECT_FALSE(controller().config());
}

TEST_F(Flow, RejectsInstallWithoutADownloadAddress) {
    runWith(R"({"userAction": [{"action": "install", "isActive": "1"}]})");
    EXPECT_EQ(events(), QList<QVariantMap>{failedConfig()});
}

TEST_F(Flow, RejectsWhatIsNoDocument) {
    runWith("[1]");
    EXPECT_EQ(events(), QList<QVariantMap>{failedConfig()});
    EXPECT_EQ(messages().value(2), u"Config parse error. Error: (null)"_s);
}

TEST_F(Flow, RejectsATransportError) {
    test::setSetting(u"DEV1_URL"_s, u"http://host/not an address"_s);
    controller();
    goOnline();
    controller().startInstallation();
    ASSERT_TRUE(test::waitFor([this] { return !events().isEmpty(); }));
    EXPECT_EQ(events(), QList<QVariantMap>{failedConfig()});
    EXPECT_FALSE(controller().errorView()->isHidden());
}

TEST_F(Flow, OpensTheLinkWaitsTwoSecondsAndQuitsForAutoOpen) {
    controller().setConfig(linkConfig(u"https://www.example.com/get?x=%41&y=1"_s, u"autoOpen"_s));
    setBlockingWait(recordWait);
    whenTerminated([&] {
        EXPECT_EQ(waits, QList<std::chrono::milliseconds>{std::chrono::milliseconds(2000)});
        EXPECT_EQ(openedAddresses(), QStringList{u"https://www.example.com/get?x=%41&y=1"_s});
        EXPECT_EQ(messages(), QStringList{u"Kit end."_s});
    });
    controller().beginInstallation();
    FAIL() << "the program did not end";
}

TEST_F(Flow, TellsTheConsoleOfALinkThatCannotBeOpenedAndQuitsAllTheSame) {
    controller().setConfig(linkConfig(u"no address"_s, u"autoOpen"_s));
    testing::internal::CaptureStderr();
    whenTerminated([&] {
        const std::string console = testing::internal::GetCapturedStderr();
        EXPECT_NE(console.find("Failed to open url: (null)\n"), std::string::npos) << console;
        EXPECT_EQ(messages(), QStringList{u"Kit end."_s});
    });
    controller().beginInstallation();
    FAIL() << "the program did not end";
}

TEST_F(Flow, ShowsTheDownloadScreenForALinkThatIsNotToOpenByItself) {
    controller().setConfig(linkConfig(u"https://www.example.com/get"_s, u"AutoOpen"_s));
    controller().setViewHidden(true);
    controller().beginInstallation();
    EXPECT_EQ(messages(), QStringList{u"Show generic download screen."_s});
    EXPECT_FALSE(controller().isViewHidden());
    EXPECT_FALSE(controller().errorView()->isHidden());
}

TEST_F(Flow, QuitsAtOnceOnTheCloseButton) {
    controller();
    whenTerminated([&] { EXPECT_EQ(messages(), QStringList{u"Kit end."_s}); });
    controller().onCloseTap();
    FAIL() << "the program did not end";
}

TEST_F(Flow, QuitsAtOnceOnTheQuitRequest) {
    controller();
    whenTerminated([&] { EXPECT_EQ(messages(), QStringList{u"Kit end."_s}); });
    controller().tapQuit();
    FAIL() << "the program did not end";
}

TEST_F(Flow, QuitsAtOnceOnTheMenusQuitAction) {
    const MainInterface interface = loadMainMenu();
    const QNMainController withMenu(u"QNMainController"_s, interface.mainMenu);
    whenTerminated([] { EXPECT_EQ(test::eventLogMessages().last(), u"Kit end."_s); });
    EXPECT_EQ(interface.mainMenu->quitAction()->shortcut(), QKeySequence(u"Ctrl+Q"_s));
    interface.mainMenu->quitAction()->trigger();
    FAIL() << "the program did not end";
}

TEST_F(Flow, IgnoresAQuitRequestWhileTheConfirmationAlertIsOpen) {
    controller().setAlert(std::make_shared<QNAlertController>());
    controller().tapQuit();
    controller().onCloseTap();
    EXPECT_TRUE(messages().isEmpty());
}

TEST_F(Flow, IgnoresAQuitRequestThatWouldHaveToBeConfirmed) {
    controller().setCloseWithoutCheck(false);
    controller().tapQuit();
    EXPECT_TRUE(messages().isEmpty());
}

TEST_F(Flow, OpensTheLinkOfAQuitNotificationAndWaits) {
    controller();
    setBlockingWait(recordWait);
    testing::internal::CaptureStderr();
    whenTerminated([&] {
        const std::string console = testing::internal::GetCapturedStderr();
        EXPECT_NE(console.find("link: https://www.example.com/x\n"), std::string::npos) << console;
        EXPECT_EQ(messages(), (QStringList{u"Kit end."_s, u"Opening link"_s}));
        EXPECT_EQ(waits, QList<std::chrono::milliseconds>{std::chrono::milliseconds(2000)});
        EXPECT_EQ(openedAddresses(), QStringList{u"https://www.example.com/x"_s});
    });
    NotificationCenter::defaultCenter().post(kQuitInstallation,
                                             QVariantMap{{u"link"_s, u"https://www.example.com/x"_s}});
    FAIL() << "the program did not end";
}

TEST_F(Flow, WaitsAndQuitsAllTheSameWhenTheLinkOfAQuitNotificationCannotBeOpened) {
    controller();
    setBlockingWait(recordWait);
    testing::internal::CaptureStderr();
    whenTerminated([&] {
        const std::string console = testing::internal::GetCapturedStderr();
        EXPECT_NE(console.find("link: no address\n"), std::string::npos) << console;
        EXPECT_NE(console.find("Failed to open url: (null)\n"), std::string::npos) << console;
        EXPECT_EQ(messages(), (QStringList{u"Kit end."_s, u"Opening link"_s}));
        EXPECT_EQ(waits, QList<std::chrono::milliseconds>{std::chrono::milliseconds(2000)});
    });
    NotificationCenter::defaultCenter().post(kQuitInstallation, QVariantMap{{u"link"_s, u"no address"_s}});
    FAIL() << "the program did not end";
}

TEST_F(Flow, DeletesTheOtherLogWhenTheUserClosedTheInstaller) {
    controller();
    const QString tinyLog = test::home() + u"/Data/Logs/tiny.log"_s;
    test::writeFile(tinyLog, "x");
    whenTerminated([&] {
        EXPECT_EQ(messages(), (QStringList{u"Kit end."_s, u"User closed installer"_s}));
        EXPECT_FALSE(QFile::exists(tinyLog));
    });
    // A value of any kind counts, false too.
    NotificationCenter::defaultCenter().post(kQuitInstallation, QVariantMap{{u"isUserAction"_s, false}});
    FAIL() << "the program did not end";
}

TEST_F(Flow, DoesNotMindThatTheOtherLogIsMissing) {
    controller();
    whenTerminated([&] { EXPECT_EQ(messages(), (QStringList{u"Kit end."_s, u"User closed installer"_s})); });
    NotificationCenter::defaultCenter().post(kQuitInstallation, QVariantMap{{u"isUserAction"_s, true}});
    FAIL() << "the program did not end";
}

TEST_F(Flow, KeepsTheOtherLogOnAnyOtherQuit) {
    controller();
    const QString tinyLog = test::home() + u"/Data/Logs/tiny.log"_s;
    test::writeFile(tinyLog, "x");
    whenTerminated([&] { EXPECT_TRUE(QFile::exists(tinyLog)); });
    NotificationCenter::defaultCenter().post(kQuitInstallation);
    FAIL() << "the program did not end";
}

TEST_F(Flow, ShowsAndHidesTheCloseButtonOnTheirNotifications) {
    controller();
    NotificationCenter::defaultCenter().post(kHideCloseButton);
    EXPECT_TRUE(controller().closeButton()->isHidden());
    NotificationCenter::defaultCenter().post(kShowCloseButton);
    EXPECT_FALSE(controller().closeButton()->isHidden());
}
