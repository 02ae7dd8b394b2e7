#include "install/QNMainController.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/QNAlertController.h"
#include "ui/TextField.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QPointer>
#include <QScreen>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

class QNAlertControllerTest : public UserInterfaceTest {
protected:
    static void open(QNAlertController& alert) {
        alert.showWindow(nullptr, u"Quit?"_s, u"The installation is not finished."_s, u"ANSWER_YES"_s, u"ANSWER_NO"_s);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(alert.window()));
    }
};

QString colorOf(const TextField& label) {
    return label.textColor().hexColor();
}

} // namespace

TEST_F(QNAlertControllerTest, OpensAFloatingRoundedWindowInTheMiddle) {
    QNAlertController alert;
    open(alert);
    const Window& window = *alert.window();
    EXPECT_EQ(window.styleMask(), 0);
    EXPECT_EQ(window.level(), 3);
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window.isMovableByWindowBackground());
    EXPECT_FALSE(window.isOpaque());
    EXPECT_TRUE(window.hasShadow());
    EXPECT_EQ(window.backgroundColor(), (Color{0.0, 0.0, 0.0, 0.0}));
    EXPECT_EQ(window.contentView()->layer().cornerRadius, 4.0);
    EXPECT_EQ(window.geometry().center().x(), window.screen()->geometry().center().x());
    EXPECT_EQ(alert.title()->string(), u"Quit?"_s);
    EXPECT_EQ(alert.message()->string(), u"The installation is not finished."_s);
    EXPECT_EQ(alert.yesNotification(), u"ANSWER_YES"_s);
    EXPECT_EQ(alert.noNotification(), u"ANSWER_NO"_s);
}

TEST_F(QNAlertControllerTest, TakesTheKeyboardFromTheWindowBelow) {
    const Window& below = shownWindow();
    QNAlertController alert;
    open(alert);
    EXPECT_TRUE(test::waitFor([&] { return alert.window()->isActiveWindow(); }));
    EXPECT_FALSE(below.isActiveWindow());
}

TEST_F(QNAlertControllerTest, StylesHeaderAndBody) {
    test::setSetting(u"PRIMARY_COLOR"_s, u"#123456"_s);
    test::setSetting(u"SECONDARY_COLOR"_s, u"#654321"_s);
    const QNAlertController alert;
    EXPECT_EQ(alert.header()->layer().backgroundColor->hexColor(), u"#F4F0FA"_s);
    EXPECT_EQ(alert.view()->layer().backgroundColor->hexColor(), u"#FFFFFF"_s);
    EXPECT_EQ(colorOf(*alert.title()), u"#123456"_s);
    EXPECT_EQ(alert.title()->textFont(), (FontChoice{u"Common Sans"_s, 24.0}));
    EXPECT_TRUE(alert.title()->drawsBackground());
    EXPECT_EQ(colorOf(*alert.message()), u"#654321"_s);
    EXPECT_EQ(alert.message()->textFont(), (FontChoice{u"CommonSans-Medium"_s, 16.0}));
    EXPECT_TRUE(alert.message()->drawsBackground());
}

TEST_F(QNAlertControllerTest, LeavesTheDefaultColoursForTextsThatAreNone) {
    test::setSetting(u"PRIMARY_COLOR"_s, u"blue"_s);
    test::setSetting(u"SECONDARY_COLOR"_s, QVariant());
    const QNAlertController alert;
    EXPECT_EQ(colorOf(*alert.title()), u"#000000"_s);
    EXPECT_EQ(colorOf(*alert.message()), u"#000000"_s);
}

TEST_F(QNAlertControllerTest, GivesItsTwoButtonsDifferentLooks) {
    const QNAlertController alert;
    const TextAttributes& yes = alert.yesButton()->attributedTitle().attributesAt(0);
    EXPECT_EQ(alert.yesButton()->title(), u"Yes"_s);
    EXPECT_EQ(yes.color->hexColor(), u"#FFFFFF"_s);
    EXPECT_EQ(yes.font, (FontChoice{u"CommonSans-Medium"_s, 18.0}));
    EXPECT_EQ(alert.yesButton()->layer().backgroundColor->hexColor(), u"#000000"_s);
    EXPECT_EQ(alert.yesButton()->layer().cornerRadius, 25.0);
    const TextAttributes& no = alert.noButton()->attributedTitle().attributesAt(0);
    EXPECT_EQ(alert.noButton()->title(), u"No"_s);
    EXPECT_EQ(no.color->hexColor(), u"#000000"_s);
    EXPECT_EQ(no.font, (FontChoice{u"CommonSans-Medium"_s, 16.0}));
    EXPECT_EQ(alert.noButton()->layer().backgroundColor->hexColor(), u"#FFFFFF"_s);
    EXPECT_EQ(alert.noButton()->layer().cornerRadius, 0.0);
}

TEST_F(QNAlertControllerTest, PostsTheAnswersAndStaysOpen) {
    QNAlertController alert;
    open(alert);
    test::click(*alert.yesButton());
    test::click(*alert.noButton());
    EXPECT_EQ(posted(), (QStringList{u"ANSWER_YES {\"isUserAction\":true}"_s, u"ANSWER_NO"_s}));
    EXPECT_TRUE(alert.window()->isVisible());
}

TEST_F(QNAlertControllerTest, IsClosedAndForgottenByTheControllersNotification) {
    const auto alert = std::make_shared<QNAlertController>();
    controller().setAlert(alert);
    open(*alert);
    NotificationCenter::defaultCenter().post(kHideAlert);
    EXPECT_FALSE(alert->window()->isVisible());
    EXPECT_EQ(controller().alert(), nullptr);
    NotificationCenter::defaultCenter().post(kHideAlert);
}

TEST_F(QNAlertControllerTest, MayBeClosedByTheAnswerOfItsOwnButton) {
    auto alert = std::make_shared<QNAlertController>();
    QPointer<QNAlertController> watched = alert.get();
    open(*alert);
    alert->setYesNotification(kHideAlert);
    controller().setAlert(std::move(alert));
    test::click(*watched->yesButton());
    EXPECT_EQ(controller().alert(), nullptr);
    EXPECT_FALSE(watched->window()->isVisible());
}

TEST_F(QNAlertControllerTest, KeepsTheWindowsCloseButtonFromQuittingWhileItIsOpen) {
    controller().setAlert(std::make_shared<QNAlertController>());
    controller().showQuitAler();
    EXPECT_EQ(posted(), QStringList());
    NotificationCenter::defaultCenter().post(kHideAlert);
    whenTerminated([this] { EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION"_s}); });
    controller().showQuitAler();
    FAIL() << "it did not quit";
}
