#include "app/AppDelegate.h"
#include "app/Application.h"
#include "app/exceptionHandler.h"
#include "install/QNMainController.h"
#include "platform/Termination.h"
#include "platform/base/UncaughtException.h"
#include "tests/support/TestEnvironment.h"
#include "ui/MainMenu.h"
#include "ui/Window.h"

#include <QEvent>

#include <gtest/gtest.h>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int reported = 0;

class Raising : public QObject {
public:
    bool event(QEvent*) override { throw PlatformException::range(u"in an event"_s); }
};

} // namespace

TEST(ApplicationEvents, HandTheirExceptionsToTheInstalledHandler) {
    platform::setUncaughtExceptionHandler([](const PlatformException& exception) {
        EXPECT_EQ(exception.reason(), u"in an event"_s);
        ++reported;
    });
    Raising receiver;
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
    QCoreApplication::processEvents();
    EXPECT_EQ(reported, 1);
}

// The whole way: an event's handler in the running loop, the program's own crash handler, the orderly end.
TEST(ApplicationEvents, ThatRaiseEndTheProgramInAnOrderlyWay) {
    test::setInfo(u"QNEnv"_s, u"dev1"_s);
    test::setSetting(u"kQNApplicationDataPathDev1"_s, u"/Data"_s);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            AppDelegate delegate(MainInterface{});
            platform::setUncaughtExceptionHandler(exceptionHandler);
            platform::setWillTerminateHandler([&] { delegate.applicationWillTerminate(); });
            Raising receiver;
            QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
            QCoreApplication::exec();
        },
        testing::ExitedWithCode(0), "CRASH REASON: in an event\n.*CRASH USER_INFO: \\(null\\)\n");
    const QStringList log = test::eventLogMessages();
    ASSERT_GE(log.size(), 2);
    EXPECT_EQ(log[log.size() - 2], u"Application crashed with [reason: in an event and userInfo: (null)]"_s);
    EXPECT_TRUE(log.last().contains(u"\"EVT\":\"End\""_s)) << log.last().toStdString();
}

// What the Dock's "Quit" and the end of the session come as: the windows are not asked, or one that stays would keep
// the session from ending.
TEST(ApplicationEvents, EndTheProgramWhenTheSystemAsksItToQuit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            platform::setWillTerminateHandler([] { std::fputs("ending in order\n", stderr); });
            Window window;
            window.show();
            QObject::connect(&window, &Window::closeRequested, [] { std::fputs("asked\n", stderr); });
            QEvent quit(QEvent::Quit);
            QCoreApplication::sendEvent(QCoreApplication::instance(), &quit);
        },
        testing::ExitedWithCode(0), "^ending in order\n$");
}
