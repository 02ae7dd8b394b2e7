#include "install/QNMainController.h"
#include "platform/base/FirstFrame.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QGuiApplication>
#include <QProcess>
#include <QScreen>
#include <QWindow>
#include <QtTest/QTest>

#include <chrono>
#include <future>

using namespace Qt::StringLiterals;

namespace {

class WindowTest : public UserInterfaceTest {
protected:
    // The screen once it shows the window's white here, and nothing is being painted any more.
    static QImage screenWithWhiteAt(const QPoint& point) {
        EXPECT_TRUE(test::waitFor([&] { return test::screenPixels().pixelColor(point) == QColor(Qt::white); }));
        return test::settledScreen();
    }
    static QColor at(const QImage& screen, const QPoint& point) { return screen.pixelColor(point); }
};

} // namespace

TEST_F(WindowTest, TellsWhoWaitsForItsFirstFrame) {
    platform::expectFirstFrame();
    shownWindow();
    std::future<bool> waiting = std::async(std::launch::async, platform::waitForFirstFrame);
    EXPECT_TRUE(test::waitFor([&] { return waiting.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(waiting.get());
}

TEST_F(WindowTest, IsBorderlessAndCentredALittleAboveTheMiddle) {
    Window& shown = shownWindow();
    EXPECT_TRUE(shown.windowFlags().testFlag(Qt::FramelessWindowHint));
    const QRect screen = shown.screen()->geometry();
    const QRect body(shown.pos() + shown.contentView()->pos(), shown.contentView()->size());
    EXPECT_EQ(body.left() - screen.left(), screen.right() - body.right());
    EXPECT_LT(body.top() - screen.top(), screen.bottom() - body.bottom());
    EXPECT_GT(body.top(), screen.height() / 10);
}

TEST_F(WindowTest, ShowsTaskBarsItsPicture) {
    Window& shown = shownWindow();
    EXPECT_TRUE(test::waitFor([&] { return !shown.windowIcon().isNull(); }));
    EXPECT_EQ(shown.windowIcon().availableSizes(), (QList<QSize>{QSize(128, 128), QSize(256, 256), QSize(384, 384)}));
}

TEST_F(WindowTest, FollowsACompositorThatComesAndGoesAndStaysInItsPlace) {
    showBackdrop();
    Window& shown = shownWindow();
    ASSERT_FALSE(shown.showsShadow());
    const QRect before = contentInPixels();
    {
        const test::DisplayProgram compositor(u"xcompmgr"_s);
        EXPECT_TRUE(test::waitFor([&] { return shown.showsShadow(); }));
        EXPECT_EQ(contentInPixels(), before);
    }
    EXPECT_TRUE(test::waitFor([&] { return !shown.showsShadow(); }));
    EXPECT_EQ(contentInPixels(), before);
    const QImage screen = screenWithWhiteAt(QPoint(before.center().x(), before.top() + 1));
    EXPECT_EQ(at(screen, before.topLeft()), test::kBackdrop);
    EXPECT_EQ(at(screen, before.topLeft() + QPoint(8, 0)), QColor(0x94, 0x94, 0x94)) << "the line around it";
    EXPECT_EQ(at(screen, before.topLeft() + QPoint(8, 1)), QColor(Qt::white));
}

TEST_F(WindowTest, WithALargerRadiusThanItIsHighHasRoundEnds) {
    showBackdrop();
    Window& shown = shownWindow();
    ASSERT_FALSE(shown.showsShadow());
    shown.setCornerRadius(5000.0);
    const QRect body = contentInPixels();
    const QImage screen = screenWithWhiteAt(QPoint(body.center().x(), body.top() + 1));
    // Within the line around it.
    EXPECT_EQ(at(screen, QPoint(body.left() + 1, body.center().y())), QColor(Qt::white));
    EXPECT_EQ(at(screen, QPoint(body.right() - 1, body.center().y())), QColor(Qt::white));
    EXPECT_EQ(at(screen, body.topLeft() + QPoint(20, 20)), test::kBackdrop);
    EXPECT_EQ(at(screen, body.bottomRight() - QPoint(20, 20)), test::kBackdrop);
}

TEST_F(WindowTest, TakesNoClicksOnItsShadow) {
    const test::DisplayProgram compositor(u"xcompmgr"_s);
    const QWidget& backdrop = showBackdrop();
    Window& shown = shownWindow();
    ASSERT_TRUE(test::waitFor([&] { return shown.showsShadow(); }));
    test::settledScreen();
    const QRect body = contentInPixels();
    QProcess::execute(u"xdotool"_s,
                      {u"mousemove"_s, QString::number(body.left() - 10), QString::number(body.top() + 50)});
    EXPECT_TRUE(test::waitFor([&] { return backdrop.underMouse(); }));
    QProcess::execute(u"xdotool"_s,
                      {u"mousemove"_s, QString::number(body.left() + 10), QString::number(body.top() + 50)});
    EXPECT_TRUE(test::waitFor([&] { return shown.underMouse(); }));
}

TEST_F(WindowTest, IsMovedByItsBackgroundWithoutAWindowManager) {
    Window& shown = shownWindow();
    test::settledScreen();
    const QPoint start = contentInPixels().topLeft();
    const QPoint grip = start + QPoint(30, 20);
    const auto drag = [](const QStringList& steps) { EXPECT_EQ(QProcess::execute(u"xdotool"_s, steps), 0); };
    drag({u"mousemove"_s, QString::number(grip.x()), QString::number(grip.y()), u"mousedown"_s, u"1"_s});
    ASSERT_TRUE(test::waitFor([] { return QGuiApplication::mouseButtons() == Qt::LeftButton; }));
    drag({u"mousemove_relative"_s, u"--"_s, u"40"_s, u"-25"_s});
    EXPECT_TRUE(test::waitFor([&] { return contentInPixels().topLeft() == start + QPoint(40, -25); }));
    drag({u"mouseup"_s, u"1"_s});
    EXPECT_TRUE(test::waitFor([] { return QGuiApplication::mouseButtons() == Qt::NoButton; }));
    EXPECT_TRUE(shown.isVisible());
}

TEST_F(WindowTest, OnlyTellsOfAWindowManagersWishToCloseIt) {
    Window& shown = shownWindow();
    int asked = 0;
    QObject::connect(&shown, &Window::closeRequested, &shown, [&asked] { ++asked; });
    shown.close();
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(shown.isVisible());
}

TEST_F(WindowTest, IsOffTheScreenBeforeAnythingThatBlocksGoesOn) {
    // As another client of the display sees it, while the loop of this one does not turn.
    const auto othersSeeIt = [] {
        QProcess other;
        other.start(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Sample$"_s});
        EXPECT_TRUE(other.waitForFinished());
        return !other.readAllStandardOutput().isEmpty();
    };
    window().setWindowTitle(u"Sample"_s);
    shownWindow();
    EXPECT_TRUE(othersSeeIt());
    controller().setViewHidden(true);
    EXPECT_FALSE(othersSeeIt());
}
