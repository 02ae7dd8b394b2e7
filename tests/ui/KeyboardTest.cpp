#include "install/QNMainController.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/FocusRing.h"
#include "ui/HyperlinkTextField.h"
#include "ui/MainMenu.h"
#include "ui/QNErrorController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QApplication>
#include <QWindow>
#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

class KeyboardTest : public UserInterfaceTest {
protected:
    QNErrorController& panel() { return *controller().errorController(); }

    // Presses Tab until the focus comes back to where it first was; what had it, in order.
    QStringList tabStops() {
        QStringList stops;
        for (int count = 0; count < 20; ++count) {
            test::pressKey(window(), Qt::Key_Tab);
            QWidget* const focus = QApplication::focusWidget();
            QString name = focus == nullptr ? u"nothing"_s : focus->objectName();
            if (focus != nullptr && panel().view()->isAncestorOf(focus) && qobject_cast<Button*>(focus) != nullptr) {
                name.prepend(u"panel "_s);
            }
            if (const auto* field = qobject_cast<HyperlinkTextField*>(focus)) {
                name += u' ' + QString::number(field->focusedLink().value_or(99));
            }
            if (!stops.isEmpty() && name == stops.first()) {
                break;
            }
            stops += name;
        }
        return stops;
    }
};

// A press that the display repeats, and the release in the end.
void hold(QWidget& window, Qt::Key key) {
    QWindow* const to = window.windowHandle();
    const QString text = key == Qt::Key_Space ? u" "_s : u"\r"_s;
    QTest::keyPress(to, key);
    for (int count = 0; count < 5; ++count) {
        qt_handleKeyEvent(to, QEvent::KeyRelease, key, Qt::NoModifier, text, true);
        qt_handleKeyEvent(to, QEvent::KeyPress, key, Qt::NoModifier, text, true);
        QCoreApplication::processEvents();
    }
    QTest::keyRelease(to, key);
}

} // namespace

TEST_F(KeyboardTest, MarksNoControlBeforeTabIsPressed) {
    Window& shown = shownWindow();
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
    EXPECT_FALSE(shown.findChild<FocusRing*>()->isVisible());
}

TEST_F(KeyboardTest, GoesThroughLinksAndButtonsFromTopToBottomAndToTheWindowsControlLast) {
    controller().showGenericError();
    shownWindow();
    EXPECT_EQ(tabStops(), (QStringList{u"errorMessage 0"_s, u"errorMessage 1"_s, u"panel closeButton"_s,
                                       u"panel contactSupportButton"_s, u"infoText 0"_s, u"closeButton"_s}));
}

TEST_F(KeyboardTest, PressesAButtonByReturnAndBySpace) {
    shownWindow();
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    test::pressKey(window(), Qt::Key_Return);
    EXPECT_EQ(posted(), QStringList{u"START_INSTALLATION"_s});
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    test::pressKey(window(), Qt::Key_Space);
    EXPECT_EQ(posted(), (QStringList{u"START_INSTALLATION"_s, u"START_INSTALLATION"_s}));
}

TEST_F(KeyboardTest, PressesThePanelsCloseButtonByEscapeWhereOneShows) {
    controller().showGenericError();
    shownWindow();
    whenTerminated([this] { EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION"_s}); });
    test::pressKey(window(), Qt::Key_Escape);
    FAIL() << "it did not quit";
}

TEST_F(KeyboardTest, DoesNothingByEscapeWhereNoCloseButtonShows) {
    Window& shown = shownWindow();
    test::pressKey(window(), Qt::Key_Escape);
    EXPECT_EQ(posted(), QStringList());
    EXPECT_TRUE(shown.isVisible());
}

TEST_F(KeyboardTest, OpensALinkByReturn) {
    test::setSetting(u"visitOnlineHelpSiteUrl"_s, u"https://h/help"_s);
    controller().showGenericError();
    shownWindow();
    panel().infoText()->setFocus(Qt::TabFocusReason);
    test::pressKey(window(), Qt::Key_Return);
    EXPECT_EQ(openedAddresses(), QStringList{u"https://h/help"_s});
}

TEST_F(KeyboardTest, TakesTheRingAwayFromALinkWhenTabGoesToTheNextOne) {
    controller().showGenericError();
    Window& shown = shownWindow();
    HyperlinkTextField* const field = panel().infoText();
    const StyledText first = StyledText::hyperlinkFromString(u"first"_s, u"https://h/1"_s);
    StyledText both = first;
    both.append(StyledText(u" and "_s));
    both.append(StyledText::hyperlinkFromString(u"second"_s, u"https://h/2"_s));
    field->setText(both);
    field->focusLink(0, Qt::TabFocusReason);
    // What the display has, and not what a new painting would give.
    const auto pictureNow = [&] {
        QCoreApplication::processEvents();
        return shown.screen()->grabWindow(shown.winId()).toImage();
    };
    const QImage onFirst = pictureNow();
    test::pressKey(window(), Qt::Key_Tab);
    EXPECT_EQ(field->focusedLink(), 1U);
    const QImage onSecond = pictureNow();
    const auto rings = [&](const QImage& picture, std::size_t link) {
        const QRectF rect = field->links().at(link).rect;
        const QPoint left = field->mapTo(&shown, QPointF(rect.left() - 1.0, rect.center().y()).toPoint());
        int blue = 0;
        for (int x = -4; x <= 4; ++x) {
            blue += picture.pixelColor((QPointF(left + QPoint(x, 0)) * picture.devicePixelRatio()).toPoint()).name() ==
                            u"#2563eb"_s
                        ? 1
                        : 0;
        }
        return blue > 0;
    };
    EXPECT_TRUE(rings(onFirst, 0));
    EXPECT_FALSE(rings(onFirst, 1));
    EXPECT_FALSE(rings(onSecond, 0));
    EXPECT_TRUE(rings(onSecond, 1));
}

TEST_F(KeyboardTest, RingsTheButtonThatHasTheKeyboard) {
    Window& shown = shownWindow();
    Button* const retry = panel().retryButton();
    retry->setFocus(Qt::TabFocusReason);
    const auto* const ring = shown.findChild<FocusRing*>();
    EXPECT_TRUE(ring->isVisible());
    const QRect target(retry->mapTo(&shown, QPoint()), retry->size());
    EXPECT_EQ(ring->geometry(), target.adjusted(-4, -4, 4, 4));
    const QImage picture = shown.grab().toImage();
    const double scale = picture.devicePixelRatio();
    const QPointF above(target.center().x(), target.top() - 3.0);
    EXPECT_EQ(picture.pixelColor((above * scale).toPoint()).name(), u"#2563eb"_s);
}

TEST_F(KeyboardTest, LeavesNoButtonWithTheKeyboardWhenTheOneThatHadItVanishes) {
    shownWindow();
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    panel().retryButton()->hide();
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
}

TEST_F(KeyboardTest, GivesTheKeyboardToNoControlAfterAChangeOfScreens) {
    Window& shown = shownWindow();
    test::pressKey(shown, Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), panel().retryButton());
    test::pressKey(shown, Qt::Key_Return);
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
    EXPECT_FALSE(shown.findChild<FocusRing*>()->isVisible());
    controller().closeButton()->setFocus(Qt::TabFocusReason);
    controller().showConnectingScreen();
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
    controller().closeButton()->setFocus(Qt::TabFocusReason);
    controller().showGenericError();
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
    EXPECT_EQ(tabStops().value(0), u"errorMessage 0"_s);
}

TEST_F(KeyboardTest, HandsTheKeyboardToNoNeighbourOfAViewThatVanishes) {
    shownWindow();
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    controller().errorView()->setHidden(true);
    EXPECT_EQ(qobject_cast<Button*>(QApplication::focusWidget()), nullptr);
}

TEST_F(KeyboardTest, TakesAKeyThatIsHeldForOnePress) {
    Window& shown = shownWindow();
    panel().setSettlingTime(std::chrono::milliseconds(0));
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    hold(shown, Qt::Key_Return);
    EXPECT_EQ(posted(), QStringList{u"START_INSTALLATION"_s});
    panel().retryButton()->setFocus(Qt::TabFocusReason);
    hold(shown, Qt::Key_Space);
    EXPECT_EQ(posted(), (QStringList{u"START_INSTALLATION"_s, u"START_INSTALLATION"_s}));
    controller().showGenericError();
    panel().contactSupportButton()->setFocus(Qt::TabFocusReason);
    hold(shown, Qt::Key_Return);
    EXPECT_EQ(posted().size(), 3);
}

TEST_F(KeyboardTest, PressesThePanelsFirstButtonByReturnWithoutATab) {
    Window& shown = shownWindow();
    panel().setSettlingTime(std::chrono::milliseconds(0));
    test::pressKey(shown, Qt::Key_Return);
    EXPECT_EQ(posted(), QStringList{u"START_INSTALLATION"_s});
    test::pressKey(shown, Qt::Key_Space);
    EXPECT_EQ(posted(), QStringList{u"START_INSTALLATION"_s});
    controller().showGenericDownloadScreen();
    whenTerminated([this] { EXPECT_EQ(posted(), (QStringList{u"START_INSTALLATION"_s, u"QUIT_INSTALLATION {}"_s})); });
    test::pressKey(shown, Qt::Key_Enter);
    FAIL() << "it did not quit";
}

TEST_F(KeyboardTest, TakesAReturnSoonAfterAChangeOfScreensForTheLastOnes) {
    Window& shown = shownWindow();
    panel().setSettlingTime(std::chrono::hours(1));
    test::pressKey(shown, Qt::Key_Return);
    controller().showGenericError();
    test::pressKey(shown, Qt::Key_Return);
    EXPECT_EQ(posted(), QStringList());
}

TEST_F(KeyboardTest, PressesNothingByReturnOnTheConnectingScreen) {
    Window& shown = shownWindow();
    panel().setSettlingTime(std::chrono::milliseconds(0));
    controller().showConnectingScreen();
    test::pressKey(shown, Qt::Key_Return);
    EXPECT_EQ(posted(), QStringList());
}

TEST_F(KeyboardTest, QuitsByTheMenusShortcut) {
    MainInterface interface = loadMainMenu();
    controller().setMainMenu(interface.mainMenu);
    controller().setupMainMenu();
    interface.window->addSubview(controller().view());
    interface.window->orderFrontRegardless();
    ASSERT_TRUE(QTest::qWaitForWindowActive(interface.window.get()));
    whenTerminated([this] { EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION"_s}); });
    QTest::keyClick(interface.window->windowHandle(), Qt::Key_Q, Qt::ControlModifier);
    FAIL() << "it did not quit";
}
