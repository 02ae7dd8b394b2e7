#include "install/QNMainController.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/QNAlertController.h"
#include "ui/QNErrorController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QAccessible>
#include <QAccessibleActionInterface>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QString roleName(QAccessible::Role role) {
    switch (role) {
    case QAccessible::Button:
        return u"button"_s;
    case QAccessible::StaticText:
        return u"text"_s;
    case QAccessible::Link:
        return u"link"_s;
    case QAccessible::Graphic:
        return u"picture"_s;
    case QAccessible::AlertMessage:
        return u"alert"_s;
    case QAccessible::Animation:
        return u"animation"_s;
    default:
        return {};
    }
}

using Visit = std::function<void(QAccessibleInterface&)>;

void walk(QAccessibleInterface* node, const Visit& visit) {
    if (node == nullptr || node->state().invisible) {
        return;
    }
    visit(*node);
    for (int index = 0; index < node->childCount(); ++index) {
        walk(node->child(index), visit);
    }
}

// Everything of a role that matters and can be seen, in the order of the tree.
QStringList seenIn(QWidget& window) {
    QStringList seen;
    walk(QAccessible::queryAccessibleInterface(&window), [&seen](QAccessibleInterface& node) {
        const QString role = roleName(node.role());
        if (!role.isEmpty() && !(role == u"text"_s && node.text(QAccessible::Name).isEmpty())) {
            seen += role + u": "_s + node.text(QAccessible::Name);
        }
    });
    return seen;
}

QAccessibleInterface* find(QWidget& window, QAccessible::Role role, const QString& name) {
    QAccessibleInterface* found = nullptr;
    walk(QAccessible::queryAccessibleInterface(&window), [&](QAccessibleInterface& node) {
        if (node.role() == role && node.text(QAccessible::Name) == name) {
            found = &node;
        }
    });
    return found;
}

void press(QWidget& window, QAccessible::Role role, const QString& name) {
    QAccessibleInterface* const node = find(window, role, name);
    ASSERT_NE(node, nullptr) << qPrintable(name);
    ASSERT_NE(node->actionInterface(), nullptr);
    node->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

// Relative luminance and contrast as WCAG 2.1 defines them.
double luminance(const Color& color) {
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

double contrast(const QString& one, const QString& other) {
    const double first = luminance(*Color::colorWithHex(one)) + 0.05;
    const double second = luminance(*Color::colorWithHex(other)) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

class AccessibilityTest : public UserInterfaceTest {
protected:
    AccessibilityTest() {
        test::setSetting(u"visitOnlineHelpSiteUrl"_s, u"https://h/help"_s);
        test::setSetting(u"downloadAndInstallLatestVersionUrl"_s, u"https://h/latest"_s);
        test::setSetting(u"clickHereUrl"_s, u"https://h/here"_s);
    }
};

} // namespace

TEST_F(AccessibilityTest, TellsTheNoInternetScreen) {
    EXPECT_EQ(seenIn(shownWindow()), (QStringList{u"alert: No internet connection"_s, u"text: No internet connection"_s,
                                                  u"text: Please check your connection and try again."_s,
                                                  u"button: Try again"_s, u"button: Quit"_s}));
}

TEST_F(AccessibilityTest, TellsTheErrorScreenWithItsLinks) {
    Window& shown = shownWindow();
    controller().showGenericError();
    EXPECT_EQ(seenIn(shown),
              (QStringList{u"alert: Installation failed"_s, u"text: Installation failed"_s,
                           u"text: Something went wrong. You can download and install the latest version yourself, or "
                           "click here for more help."_s,
                           u"link: download and install the latest version"_s, u"link: click here"_s,
                           u"button: Close"_s, u"button: Contact support"_s, u"text: Need help? Visit our help site"_s,
                           u"link: Visit our help site"_s, u"button: Quit"_s}));
}

TEST_F(AccessibilityTest, TellsTheConnectingScreen) {
    Window& shown = shownWindow();
    controller().errorView()->setHidden(true);
    controller().spinnerView()->setHidden(false);
    EXPECT_EQ(seenIn(shown), (QStringList{u"animation: Connecting…"_s, u"text: Connecting…"_s, u"button: Quit"_s}));
}

TEST_F(AccessibilityTest, TellsTheAlert) {
    QNAlertController alert;
    alert.showWindow(nullptr, u"Quit?"_s, u"Really?"_s, u"ANSWER_YES"_s, u"ANSWER_NO"_s);
    EXPECT_EQ(seenIn(*alert.window()),
              (QStringList{u"text: Quit?"_s, u"text: Really?"_s, u"button: No"_s, u"button: Yes"_s}));
    press(*alert.window(), QAccessible::Button, u"Yes"_s);
    press(*alert.window(), QAccessible::Button, u"No"_s);
    EXPECT_TRUE(test::waitFor([this] { return posted().size() == 2; }));
    EXPECT_EQ(posted(), (QStringList{u"ANSWER_YES {\"isUserAction\":true}"_s, u"ANSWER_NO"_s}));
}

TEST_F(AccessibilityTest, PressesEachButtonByItsAction) {
    Window& shown = shownWindow();
    press(shown, QAccessible::Button, u"Try again"_s);
    EXPECT_TRUE(test::waitFor([this] { return posted().size() == 1; }));
    controller().showGenericError();
    press(shown, QAccessible::Button, u"Contact support"_s);
    EXPECT_TRUE(test::waitFor([this] { return posted().size() == 2; }));
    whenTerminated([this] {
        EXPECT_EQ(posted(),
                  (QStringList{u"START_INSTALLATION"_s, u"SHOW_CONTACT_SUPPORT_BUTTON"_s, u"QUIT_INSTALLATION"_s}));
    });
    press(shown, QAccessible::Button, u"Close"_s);
    test::waitFor([] { return false; }, std::chrono::seconds(5));
    FAIL() << "it did not quit";
}

TEST_F(AccessibilityTest, OpensEachLinkByItsAction) {
    Window& shown = shownWindow();
    controller().showGenericError();
    press(shown, QAccessible::Link, u"click here"_s);
    EXPECT_EQ(openedAddresses(1), QStringList{u"https://h/here"_s});
    press(shown, QAccessible::Link, u"Visit our help site"_s);
    EXPECT_EQ(openedAddresses(2), (QStringList{u"https://h/here"_s, u"https://h/help"_s}));
}

TEST_F(AccessibilityTest, TellsWhichLinkHasTheKeyboardAndWhereItIs) {
    Window& shown = shownWindow();
    controller().showGenericError();
    HyperlinkTextField& field = *controller().errorController()->errorMessage();
    field.setFocus(Qt::TabFocusReason);
    QAccessibleInterface* const first = find(shown, QAccessible::Link, u"download and install the latest version"_s);
    QAccessibleInterface* const second = find(shown, QAccessible::Link, u"click here"_s);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_TRUE(first->state().focused);
    EXPECT_FALSE(second->state().focused);
    test::pressKey(shown, Qt::Key_Tab);
    EXPECT_FALSE(first->state().focused);
    EXPECT_TRUE(second->state().focused);
    const QRect inField(field.mapToGlobal(QPoint()), field.size());
    EXPECT_TRUE(inField.contains(second->rect().center()));
    EXPECT_EQ(second->text(QAccessible::Value), u"https://h/here"_s);
}

// The colours that are ours to choose. docs/accessibility.md tells of those that are required and fall short.
TEST(Contrast, IsAtLeastFourAndAHalfForOurOwnColours) {
    const QString white = u"#FFFFFF"_s;
    EXPECT_GE(contrast(u"#595959"_s, white), 4.5) << "the cross of the window's own control";
    EXPECT_GE(contrast(u"#2563EB"_s, white), 4.5) << "the focus ring";
    for (const QString& key : {u"PRIMARY_COLOR"_s, u"SECONDARY_COLOR"_s}) {
        const QString color = test::infoPlist().value(u"QNConfig"_s).toMap().value(key).toString();
        EXPECT_GE(contrast(color, white), 4.5) << qPrintable(key);
    }
}

TEST(Contrast, IsAsDocumentedForTheRequiredColours) {
    EXPECT_NEAR(contrast(u"#1A1A1A"_s, u"#FFFFFF"_s), 17.40, 0.01);
    EXPECT_NEAR(contrast(u"#595959"_s, u"#FFFFFF"_s), 7.00, 0.01);
    EXPECT_NEAR(contrast(u"#767676"_s, u"#FFFFFF"_s), 4.54, 0.01);
    EXPECT_NEAR(contrast(u"#FF0000"_s, u"#FFF0F0"_s), 3.61, 0.02);
}
