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

#include <functional>
#include <vector>

using namespace Qt::StringLiterals;

// The alert as a screen reader finds it, over the accessibility bus and in another process. No run of the program opens
// it, so that process is a case of this program.

namespace {

class AssistiveTechnologyTest : public testing::Test {
protected:
    explicit AssistiveTechnologyTest(ScreenReader::Age age = ScreenReader::Age::kToday) : reader_(age) {}
    ~AssistiveTechnologyTest() override {
        other_.kill();
        other_.waitForFinished();
    }
    void showAlert() { start(u"AlertProcess.DISABLED_ShowsTheAlert"_s); }
    void start(const QString& name) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, reader_.sessionBus());
        environment.remove(u"QN_SYSTEM_ROOT"_s);
        other_.setProcessEnvironment(environment);
        other_.setStandardOutputFile(QProcess::nullDevice());
        other_.setStandardErrorFile(QProcess::nullDevice());
        other_.start(QCoreApplication::applicationFilePath(),
                     {u"--gtest_also_run_disabled_tests"_s, u"--gtest_filter="_s + name});
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

class OlderScreenReaderTest : public AssistiveTechnologyTest {
protected:
    OlderScreenReaderTest() : AssistiveTechnologyTest(ScreenReader::Age::kOlder) {}
};

using AlertProcess = UserInterfaceTest;

const QStringList kMainWindow{u"frame: Kit"_s,
                              u"alert message: No internet connection"_s,
                              u"label: No internet connection"_s,
                              u"label: Please check your connection and try again."_s,
                              u"push button: Try again"_s,
                              u"push button: Quit"_s};
const QStringList kAlert{u"dialog: Leave?"_s, u"label: Leave?"_s, u"label: The installation is not finished."_s,
                         u"push button: No"_s, u"push button: Yes"_s};

} // namespace

TEST_F(AlertProcess, DISABLED_ShowsTheAlert) {
    shownWindow().setWindowTitle(u"Kit"_s);
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

// One step for each file that appears: who listens asks for names, and they are to be those of that step.
TEST_F(AlertProcess, DISABLED_ChangesItsScreens) {
    shownWindow();
    const auto tab = [this] { test::pressKey(window(), Qt::Key_Tab); };
    const std::vector<std::function<void()>> steps{[this] { controller().showConnectingScreen(); },
                                                   [this] { controller().showGenericError(); },
                                                   tab,
                                                   tab,
                                                   tab,
                                                   tab,
                                                   [this] { controller().showGenericDownloadScreen(); },
                                                   tab};
    std::size_t next = 0;
    QEventLoop loop;
    QTimer waiting;
    QObject::connect(&waiting, &QTimer::timeout, &loop, [&] {
        if (next < steps.size() && QFile::exists(qEnvironmentVariable("STEP") + QString::number(next))) {
            steps.at(next++)();
        }
    });
    waiting.start(std::chrono::milliseconds(20));
    QTimer::singleShot(std::chrono::seconds(60), &loop, &QEventLoop::quit);
    loop.exec();
}

TEST_F(AssistiveTechnologyTest, HearsEveryChangeOfScreensAndWhatHasTheKeyboard) {
    const QString step = test::folder() + u"/step"_s;
    test::setEnvironment("STEP", step.toUtf8());
    start(u"AlertProcess.DISABLED_ChangesItsScreens"_s);
    const QString first = u"announcement: No internet connection. Please check your connection and try again."_s;
    ASSERT_TRUE(test::waitFor([&] { return reader_.heard(1).contains(first); }));
    const qsizetype before = reader_.heard(1).size();
    const QStringList expected{
        u"announcement: Connecting…"_s,
        u"announcement: Installation failed. Something went wrong. You can download and install the latest version "
        "yourself, or click here for more help."_s,
        u"focus: link: download and install the latest version"_s,
        u"focus: link: click here"_s,
        u"focus: push button: Close"_s,
        u"focus: push button: Contact support"_s,
        u"announcement: Get the latest version. Press Download to get the latest version, or open the "
        "download page."_s,
        u"focus: push button: Download"_s};
    for (qsizetype count = 0; count < expected.size(); ++count) {
        test::writeFile(step + QString::number(count), "");
        EXPECT_EQ(reader_.heard(before + count + 1).mid(before).join(u'\n').toStdString(),
                  expected.first(count + 1).join(u'\n').toStdString());
    }
}

TEST_F(OlderScreenReaderTest, IsToldOfEveryChangeOfScreensAsOfAChangeOfFocus) {
    const QString step = test::folder() + u"/step"_s;
    test::setEnvironment("STEP", step.toUtf8());
    start(u"AlertProcess.DISABLED_ChangesItsScreens"_s);
    const QString first = u"focus: alert message: No internet connection"_s;
    ASSERT_TRUE(test::waitFor([&] { return reader_.heard(1).contains(first); }));
    const qsizetype before = reader_.heard(1).size();
    const QStringList expected{u"focus: label: Connecting…"_s, u"focus: alert message: Installation failed"_s,
                               u"focus: link: download and install the latest version"_s};
    for (qsizetype count = 0; count < expected.size(); ++count) {
        test::writeFile(step + QString::number(count), "");
        EXPECT_EQ(reader_.heard(before + count + 1).mid(before).join(u'\n').toStdString(),
                  expected.first(count + 1).join(u'\n').toStdString());
    }
}
