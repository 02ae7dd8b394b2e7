#include "app/AppDelegate.h"
#include "app/exceptionHandler.h"
#include "install/QNMainController.h"
#include "platform/Bundle.h"
#include "platform/Termination.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/UncaughtException.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"
#include "ui/MainMenu.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

void endHere() {
    std::fflush(nullptr);
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

void post(const QString& name, const NotificationObject& object) {
    NotificationCenter::defaultCenter().post(name, object);
}

} // namespace

// A delegate on a machine without a route, so that launching asks no server.
class Delegate : public testing::Test {
protected:
    Delegate() {
        test::putSystemFile(u"/proc/net/route"_s, "");
        test::putSystemFile(u"/proc/net/ipv6_route"_s, "");
        test::setSetting(u"kAPP_NAME"_s, u"Kit"_s);
        test::setSetting(u"QNPortalType"_s, u"qn"_s);
        test::setInfo(u"CFBundleIdentifier"_s, u"com.example.kit"_s);
    }

    AppDelegate& delegate() {
        if (!delegate_) {
            delegate_ = std::make_unique<AppDelegate>(loadMainMenu());
        }
        return *delegate_;
    }

    // Calls the handler with the address; the objects of the notifications that it posts.
    QList<QVariantMap> dialogsFor(const QString& address) {
        const auto objects = std::make_shared<QList<QVariantMap>>(); // observers are never removed
        NotificationCenter::defaultCenter().addObserver(
            kShowCrashInfoDialog,
            [objects](const Notification& notification) { *objects += std::get<QVariantMap>(notification.object); });
        delegate().getUrl(address);
        return *objects;
    }

private:
    std::unique_ptr<AppDelegate> delegate_;
};

TEST_F(Delegate, LogsTheLaunchInItsOrderWithOneLineNumber) {
    delegate().applicationDidFinishLaunching();
    const QString cache = test::home() + u"/Library/Caches/com.example.kit"_s;
    const QStringList messages = test::eventLogMessages();
    EXPECT_EQ(messages.mid(0, 4),
              (QStringList{u"Removing app cache from "_s + cache + u" ."_s,
                           u"Failed to remove app cache from "_s + cache + u" ."_s,
                           u"Error: Error Domain=NSCocoaErrorDomain Code=4 \"“com.example.kit” couldn’t be removed.\" "
                           "UserInfo={NSFilePath="_s +
                               cache + u"}"_s,
                           u"Kit start."_s}));
    static const QRegularExpression line(u"\"line\": \"(\\d+)\""_s);
    QStringList lines;
    for (const QString& entry : test::eventLog().mid(0, 4)) {
        lines += line.match(entry).captured(1);
    }
    EXPECT_EQ(lines.count(lines.first()), 4);
}

TEST_F(Delegate, RemovesTheCacheFolderAndNothingBesideIt) {
    const QString caches = test::home() + u"/Library/Caches/"_s;
    test::writeFile(caches + u"com.example.kit/deep/file"_s, "x");
    test::writeFile(caches + u"com.example.kit2/file"_s, "x");
    delegate().applicationDidFinishLaunching();
    EXPECT_FALSE(QFile::exists(caches + u"com.example.kit"_s));
    EXPECT_TRUE(QFile::exists(caches + u"com.example.kit2/file"_s));
    EXPECT_EQ(test::eventLogMessages().value(1),
              u"Successfully removed app cache from "_s + caches + u"com.example.kit ."_s);
}

TEST_F(Delegate, WritesNullForMissingNames) {
    test::setInfo(u"CFBundleIdentifier"_s, QVariant());
    test::setSetting(u"kAPP_NAME"_s, QVariant());
    delegate().applicationDidFinishLaunching();
    EXPECT_EQ(test::eventLogMessages().value(0),
              u"Removing app cache from "_s + test::home() + u"/Library/Caches/(null) ."_s);
    EXPECT_EQ(test::eventLogMessages().value(3), u"(null) start."_s);
}

TEST_F(Delegate, ShowsTheBorderlessWindowAroundTheControllersView) {
    delegate().applicationDidFinishLaunching();
    const Window* const window = delegate().window();
    ASSERT_NE(delegate().mainController(), nullptr);
    EXPECT_TRUE(window->contentView()->isAncestorOf(delegate().mainController()->view()));
    EXPECT_EQ(window->styleMask(), 0);
    EXPECT_TRUE(window->isMovableByWindowBackground());
    EXPECT_EQ(window->backgroundColor(), (Color{0.0, 0.0, 0.0, 0.0}));
    EXPECT_FALSE(window->isOpaque());
    EXPECT_TRUE(window->hasShadow());
    EXPECT_EQ(window->contentView()->layer().cornerRadius, 8.0);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(Delegate, QueuesTheStartEventOfTheController) {
    delegate().applicationDidFinishLaunching();
    ASSERT_EQ(analyticsQueue().size(), 1);
    EXPECT_TRUE(analyticsQueue()[0].contains(u"\"EVT\":\"Start\""_s));
}

TEST_F(Delegate, QueuesLinesFromAnyThread) {
    delegate().applicationDidFinishLaunching();
    const auto postMany = [](const QString& line) {
        for (int index = 0; index < 200; ++index) {
            post(kLogAnalytics, line);
        }
    };
    std::thread other(postMany, u"other"_s);
    postMany(u"main"_s);
    other.join();
    EXPECT_EQ(analyticsQueue().count(u"other"_s), 200);
    EXPECT_EQ(analyticsQueue().count(u"main"_s), 200);
}

TEST_F(Delegate, TakesTheLastEndpointAndForgetsItForAnAbsentOne) {
    delegate().applicationDidFinishLaunching();
    EXPECT_EQ(analyticsUrl(), std::nullopt);
    post(kChangeAnalyticsUrl, u"http://127.0.0.1/a"_s);
    post(kChangeAnalyticsUrl, u"http://127.0.0.1/b"_s);
    EXPECT_EQ(analyticsUrl(), u"http://127.0.0.1/b"_s);
    post(kChangeAnalyticsUrl, {});
    EXPECT_EQ(analyticsUrl(), std::nullopt);
}

TEST_F(Delegate, AsksForTheCrashDialogOnItsOwnAddressesOnly) {
    EXPECT_EQ(dialogsFor(u"qnd://crashInfo"_s), (QList<QVariantMap>{{{u"withOverlay"_s, true}}}));
    EXPECT_EQ(dialogsFor(u"qnd://innerCrashInfo"_s), (QList<QVariantMap>{{{u"withOverlay"_s, false}}}));
    for (const QString& other : {u"qnd://install"_s, u"qnd://CrashInfo"_s, u"xyd://crashInfo"_s, u"qnd://crashInfo/"_s,
                                 u"crashInfo"_s, u""_s}) {
        EXPECT_TRUE(dialogsFor(other).isEmpty()) << other.toStdString();
    }
}

TEST_F(Delegate, FollowsThePortalTypeInItsAddresses) {
    test::setSetting(u"QNPortalType"_s, u"abc"_s);
    EXPECT_EQ(dialogsFor(u"abcd://crashInfo"_s).size(), 1);
    EXPECT_TRUE(dialogsFor(u"qnd://crashInfo"_s).isEmpty());
}

TEST_F(Delegate, AppendsTheEndEventDirectlyAndLogsItOnce) {
    delegate().applicationDidFinishLaunching();
    int notified = 0;
    NotificationCenter::defaultCenter().addObserver(kLogAnalytics, [&](const Notification&) { ++notified; });
    delegate().applicationWillTerminate();
    EXPECT_EQ(notified, 0);
    EXPECT_EQ(analyticsQueue().size(), 2);
    EXPECT_TRUE(analyticsQueue().last().contains(u"\"EVT\":\"End\""_s));
    for (const QString& key : {u"\"SR\":"_s, u"\"Proc\":"_s, u"\"ProcType\":"_s}) {
        EXPECT_TRUE(analyticsQueue().last().contains(key));
    }
    EXPECT_EQ(test::eventLogMessages().filter(u"\"EVT\":\"End\""_s).size(), 1);
}

TEST_F(Delegate, PostsAllLinesOnceAtTheEnd) {
    loopback::LoopbackServer server;
    server.expect("POST /a", loopback::replyWithStatus(500, "no"));
    delegate().applicationDidFinishLaunching();
    post(kChangeAnalyticsUrl, QString::fromStdString(server.address("/a")));
    post(kLogAnalytics, u"a line"_s);
    delegate().applicationWillTerminate();
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(QString::fromStdString(server.requests()[0].body), analyticsQueue().join(u"\r\n"_s));
    EXPECT_EQ(analyticsQueue().size(), 3);
}

TEST_F(Delegate, GoesOnWhenTheEndpointIsNoAddress) {
    delegate().applicationDidFinishLaunching();
    post(kChangeAnalyticsUrl, u"not an address"_s);
    delegate().applicationWillTerminate();
    EXPECT_TRUE(test::eventLogMessages().last().startsWith(
        u"Analytics send error Error Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\""_s))
        << test::eventLogMessages().last().toStdString();
}

TEST_F(Delegate, QuitsOnTheWindowManagersWishToClose) {
    platform::setTerminateFunction([] {
        EXPECT_EQ(test::eventLogMessages().last(), u"Kit end."_s);
        endHere();
    });
    delegate().applicationDidFinishLaunching();
    delegate().window()->close();
    FAIL() << "the program did not end";
}

TEST_F(Delegate, HandsACrashToConsoleAndLogAndEnds) {
    platform::setTerminateFunction([] {
        EXPECT_EQ(test::eventLogMessages().last(),
                  u"Application crashed with [reason: too far and userInfo: {\n    key = value;\n}]"_s);
        endHere();
    });
    testing::internal::CaptureStderr();
    exceptionHandler(PlatformException(u"NSRangeException"_s, u"too far"_s, {{u"key"_s, u"value"_s}}));
    FAIL() << "the program did not end";
}

TEST_F(Delegate, InstallsTheHandlerThatLogsACrashAndEnds) {
    platform::setTerminateFunction([] {
        EXPECT_EQ(test::eventLogMessages().last(),
                  u"Application crashed with [reason: too far and userInfo: (null)]"_s);
        endHere();
    });
    EXPECT_EQ(platform::uncaughtExceptionHandler(), nullptr);
    delegate().applicationDidFinishLaunching();
    testing::internal::CaptureStderr();
    platform::uncaughtExceptionHandler()(PlatformException(u"NSRangeException"_s, u"too far"_s));
    FAIL() << "the program did not end";
}
