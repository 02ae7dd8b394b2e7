#include "tests/ui/UserInterfaceTest.h"

#include "install/BlockingWait.h"
#include "install/QNMainController.h"
#include "logging/JSONText.h"
#include "platform/Termination.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/support/TestEnvironment.h"
#include "ui/MainMenu.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>
#include <QFile>
#include <QScreen>
#include <QWindow>
#include <QtTest/QTest>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kRouteHeader = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n";

void doNotWait(std::chrono::milliseconds) {}

std::function<void()>& expectationsAtEnd() {
    static std::function<void()> expectations = [] { ADD_FAILURE() << "the program asked to be terminated"; };
    return expectations;
}

void endCase() {
    expectationsAtEnd()();
    std::fflush(nullptr);
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

} // namespace

UserInterfaceTest::UserInterfaceTest() {
    test::putSystemFile(u"/proc/net/route"_s, kRouteHeader);
    test::putSystemFile(u"/proc/net/ipv6_route"_s, "");
    test::writeFile(test::folder() + u"/bin/xdg-open"_s, "#!/bin/sh\necho \"$1\" >> \"$HOME/opened\"\n");
    QFile::setPermissions(test::folder() + u"/bin/xdg-open"_s, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    test::setEnvironment("PATH", (test::folder() + u"/bin:"_s + qEnvironmentVariable("PATH")).toUtf8());
    setBlockingWait(doNotWait);
    platform::setTerminateFunction(endCase);
    for (const QString& name :
         {kStartInstallation, kQuitInstallation, kShowContactSupportButton, u"ANSWER_YES"_s, u"ANSWER_NO"_s}) {
        NotificationCenter::defaultCenter().addObserver(name, [this](const Notification& notification) {
            const auto* const object = std::get_if<QVariantMap>(&notification.object);
            posted_ +=
                object ? notification.name + u' ' + jsonStringWithPrettyPrint(*object, false) : notification.name;
        });
    }
}

UserInterfaceTest::~UserInterfaceTest() = default;

QNMainController& UserInterfaceTest::controller() {
    if (!controller_) {
        controller_ = std::make_unique<QNMainController>(u"QNMainController"_s);
    }
    return *controller_;
}

Window& UserInterfaceTest::window() {
    if (!window_) {
        window_ = loadMainMenu().window;
        window_->center();
        window_->addSubview(controller().view());
        window_->setStyleMask(Window::kBorderless);
        window_->setMovableByWindowBackground(true);
        window_->setBackgroundColor(Color{0.0, 0.0, 0.0, 0.0});
        window_->setOpaque(false);
        window_->setHasShadow(true);
        window_->setCornerRadius(8.0);
    }
    return *window_;
}

void UserInterfaceTest::whenTerminated(std::function<void()> expectations) {
    expectationsAtEnd() = std::move(expectations);
}

Window& UserInterfaceTest::shownWindow() {
    window().orderFrontRegardless();
    EXPECT_TRUE(test::waitFor([this] { return window_->isActiveWindow() && window_->windowHandle()->isExposed(); }));
    return *window_;
}

QRect UserInterfaceTest::contentInPixels() {
    const double scale = window().devicePixelRatioF();
    const QPoint corner = window().pos() + window().contentView()->pos();
    return {(QPointF(corner) * scale).toPoint(), (QSizeF(window().contentView()->size()) * scale).toSize()};
}

QWidget& UserInterfaceTest::showBackdrop() {
    backdrop_ = std::make_unique<QWidget>();
    backdrop_->setGeometry(QGuiApplication::primaryScreen()->geometry());
    QPalette palette;
    palette.setColor(QPalette::Window, test::kBackdrop);
    backdrop_->setPalette(palette);
    backdrop_->setWindowFlag(Qt::FramelessWindowHint);
    backdrop_->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(backdrop_.get()));
    return *backdrop_;
}

QStringList UserInterfaceTest::openedAddresses(int count) {
    const auto opened = [] {
        return QString::fromUtf8(test::readFile(test::home() + u"/opened"_s)).split(u'\n', Qt::SkipEmptyParts);
    };
    test::waitFor([&] { return QFile::exists(test::home() + u"/opened"_s) && opened().size() >= count; },
                  std::chrono::seconds(5));
    return QFile::exists(test::home() + u"/opened"_s) ? opened() : QStringList();
}

namespace test {

DisplayProgram::DisplayProgram(const QString& program) {
    process_.start(program, QStringList());
    EXPECT_TRUE(process_.waitForStarted());
}

DisplayProgram::~DisplayProgram() {
    process_.terminate();
    process_.waitForFinished();
}

QByteArray failuresOf(const QString& name, const std::map<QString, QString>& environment) {
    QProcessEnvironment whole = QProcessEnvironment::systemEnvironment();
    for (const auto& [variable, value] : environment) {
        whole.insert(variable, value);
    }
    QProcess child;
    child.setProcessEnvironment(whole);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {u"--gtest_also_run_disabled_tests"_s, u"--gtest_filter="_s + name});
    child.waitForFinished(60'000);
    const QByteArray output = child.readAll();
    const bool passed = child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
    return passed && output.contains("[  PASSED  ] 1 test") ? QByteArray() : output;
}

QImage screenPixels() {
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage().convertToFormat(QImage::Format_RGB32);
}

QImage settledScreen() {
    QImage last;
    waitFor([&last] {
        const QImage now = screenPixels();
        const bool same = now == last;
        last = now;
        return same;
    });
    return last;
}

void click(QWidget& widget, const QPoint& position) {
    QTest::mouseClick(&widget, Qt::LeftButton, {}, position);
}

void click(QWidget& widget) {
    click(widget, widget.rect().center());
}

void pressKey(QWidget& window, int key) {
    QTest::keyClick(window.windowHandle(), static_cast<Qt::Key>(key));
}

} // namespace test
