#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/ScreenReader.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/QNAlertController.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTimer>

using namespace Qt::StringLiterals;

// The alert as a screen reader finds it, over the accessibility bus and in another process. No run of the program opens
// it, so that process is a case of this program.

namespace {

class AssistiveTechnologyTest : public testing::Test {
protected:
    ~AssistiveTechnologyTest() override {
        other_.kill();
        other_.waitForFinished();
    }
    void showAlert() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, reader_.sessionBus());
        environment.remove(u"QN_SYSTEM_ROOT"_s);
        other_.setProcessEnvironment(environment);
        other_.setStandardOutputFile(QProcess::nullDevice());
        other_.setStandardErrorFile(QProcess::nullDevice());
        other_.start(QCoreApplication::applicationFilePath(),
                     {u"--gtest_also_run_disabled_tests"_s, u"--gtest_filter=AlertProcess.DISABLED_ShowsTheAlert"_s});
        ASSERT_TRUE(other_.waitForStarted());
    }
    // What the other process posted, once there are `count` notifications.
    static QStringList postedThere(int count) {
        const QString file = test::home() + u"/posted"_s;
        const auto lines = [&file] {
            return QFile::exists(file) ? QString::fromUtf8(test::readFile(file)).split(u'\n', Qt::SkipEmptyParts)
                                       : QStringList();
        };
        test::waitFor([&] { return lines().size() >= count; });
        return lines();
    }

    ScreenReader reader_;

private:
    QProcess other_;
};

using AlertProcess = UserInterfaceTest;

const QStringList kMainWindow{u"frame: "_s,
                              u"graphic: No internet connection"_s,
                              u"label: No internet connection"_s,
                              u"label: Please check your connection and try again."_s,
                              u"push button: Try again"_s,
                              u"push button: Quit"_s};
const QStringList kAlert{u"dialog: Leave?"_s, u"label: Leave?"_s, u"label: The installation is not finished."_s,
                         u"push button: No"_s, u"push button: Yes"_s};

} // namespace

TEST_F(AlertProcess, DISABLED_ShowsTheAlert) {
    shownWindow();
    const auto alert = std::make_shared<QNAlertController>();
    controller().setAlert(alert);
    alert->showWindow(nullptr, u"Leave?"_s, u"The installation is not finished."_s, u"ANSWER_YES"_s, u"ANSWER_NO"_s);
    // Whoever asked closes it at the second answer.
    NotificationCenter::defaultCenter().addObserver(
        u"ANSWER_NO"_s, [](const Notification&) { NotificationCenter::defaultCenter().post(kHideAlert); });
    QTimer noting;
    QObject::connect(&noting, &QTimer::timeout, &noting,
                     [this] { test::writeFile(test::home() + u"/posted"_s, posted().join(u'\n').toUtf8()); });
    noting.start(std::chrono::milliseconds(20));
    whenTerminated([this] {
        test::writeFile(test::home() + u"/posted"_s, (posted() + QStringList{u"ended"_s}).join(u'\n').toUtf8());
    });
    QEventLoop loop;
    QTimer::singleShot(std::chrono::seconds(60), &loop, &QEventLoop::quit);
    loop.exec();
}

TEST_F(AssistiveTechnologyTest, FindsTheAlertAndGivesBothAnswersByItsButtons) {
    showAlert();
    EXPECT_EQ(reader_.announcedOnce(kMainWindow + kAlert), kMainWindow + kAlert);
    EXPECT_EQ(reader_.pressable(), (QStringList{u"push button: Try again"_s, u"push button: Quit"_s,
                                                u"push button: No"_s, u"push button: Yes"_s}));
    // While it is open, nothing quits.
    EXPECT_TRUE(reader_.press(u"push button: Quit"_s));
    EXPECT_TRUE(reader_.press(u"push button: Yes"_s));
    EXPECT_EQ(postedThere(1), QStringList{u"ANSWER_YES {\"isUserAction\":true}"_s});
    EXPECT_EQ(reader_.announced(), kMainWindow + kAlert) << "it does not close itself";
    EXPECT_TRUE(reader_.press(u"push button: No"_s));
    EXPECT_EQ(postedThere(2), (QStringList{u"ANSWER_YES {\"isUserAction\":true}"_s, u"ANSWER_NO"_s}));
    EXPECT_EQ(reader_.announcedOnce(kMainWindow), kMainWindow);
    EXPECT_TRUE(reader_.press(u"push button: Quit"_s));
    EXPECT_EQ(postedThere(4), (QStringList{u"ANSWER_YES {\"isUserAction\":true}"_s, u"ANSWER_NO"_s,
                                           u"QUIT_INSTALLATION"_s, u"ended"_s}));
}
