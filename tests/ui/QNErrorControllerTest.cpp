#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNErrorController.h"
#include "ui/QNErrorObject.h"
#include "ui/View.h"

#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

struct ButtonLook {
    QString title;
    QString titleColor;
    FontChoice font;
    QString background;
    double cornerRadius;
    bool operator==(const ButtonLook&) const = default;
};

ButtonLook lookOf(const Button& button) {
    const TextAttributes& attributes = button.attributedTitle().attributesAt(0);
    return {button.title(), attributes.color->hexColor(), *attributes.font, button.layer().backgroundColor->hexColor(),
            button.layer().cornerRadius};
}

class QNErrorControllerTest : public UserInterfaceTest {
protected:
    void show() {
        panel.view()->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.view()));
    }
    // retry, close, contact support, subtitle
    std::vector<bool> visible() const {
        return {!panel.retryButton()->isHidden(), !panel.closeButton()->isHidden(),
                !panel.contactSupportButton()->isHidden(), !panel.infoText()->isHidden()};
    }

    QNErrorController panel{u"QNErrorController"_s};
};

} // namespace

TEST(QNErrorObject, StartsWithNothing) {
    const QNErrorObject object;
    EXPECT_EQ(object.withRetry, 0);
    EXPECT_EQ(object.withClose, 0);
    EXPECT_EQ(object.withContactSupport, 0);
    EXPECT_FALSE(object.title || object.message || object.icon || object.info);
}

TEST_F(QNErrorControllerTest, StartsWithRetryAndClose) {
    EXPECT_EQ(visible(), (std::vector<bool>{true, true, false, true}));
    EXPECT_FALSE(panel.customActionOnClose());
    EXPECT_FALSE(panel.customActionLink());
}

TEST_F(QNErrorControllerTest, StylesItsLabels) {
    const auto expectLook = [](const TextField& label, const QString& color, const FontChoice& font) {
        EXPECT_EQ(label.textColor().hexColor(), color);
        EXPECT_EQ(label.textFont(), font);
        EXPECT_TRUE(label.drawsBackground());
        EXPECT_EQ(label.backgroundColor().hexColor(), u"#FFFFFF"_s);
    };
    expectLook(*panel.errorTitle(), u"#1A1A1A"_s, {u"CommonSans-Bold"_s, 32.0});
    expectLook(*panel.errorMessage(), u"#595959"_s, {u"Common Sans"_s, 16.0});
    expectLook(*panel.infoText(), u"#595959"_s, {u"Common Sans"_s, 14.0});
}

TEST_F(QNErrorControllerTest, StylesItsButtons) {
    const FontChoice font{u"Common Sans"_s, 14.0};
    EXPECT_EQ(lookOf(*panel.retryButton()), (ButtonLook{u"Try again"_s, u"#FFFFFF"_s, font, u"#000000"_s, 25.0}));
    EXPECT_EQ(lookOf(*panel.closeButton()), (ButtonLook{u"Close"_s, u"#FFFFFF"_s, font, u"#000000"_s, 25.0}));
    EXPECT_EQ(lookOf(*panel.contactSupportButton()),
              (ButtonLook{u"Contact support"_s, u"#FF0000"_s, font, u"#FFF0F0"_s, 25.0}));
}

TEST_F(QNErrorControllerTest, TakesItsBackgroundFromTheSettings) {
    EXPECT_EQ(panel.view()->layer().backgroundColor->hexColor(), u"#FFFFFF"_s);
}

TEST(QNErrorController, HasNoBackgroundForAColourThatIsNone) {
    test::setSetting(u"BG_COLOR"_s, u"#12345"_s);
    const QNErrorController panel(u"QNErrorController"_s);
    EXPECT_FALSE(panel.view()->layer().backgroundColor);
}

TEST_F(QNErrorControllerTest, ShowsARecord) {
    QNErrorObject object;
    object.title = u"Title"_s;
    object.message = u"Message"_s;
    object.icon = imageNamed(u"dl"_s);
    object.info = u"Info"_s;
    panel.setErrorObject(object);
    EXPECT_EQ(panel.errorTitle()->string(), u"Title"_s);
    EXPECT_EQ(panel.errorMessage()->string(), u"Message"_s);
    EXPECT_EQ(panel.infoText()->string(), u"Info"_s);
    EXPECT_EQ(panel.errorIcon()->imageName(), u"dl"_s);
    EXPECT_EQ(visible(), (std::vector<bool>{false, false, false, true}));
}

TEST_F(QNErrorControllerTest, ShowsTheButtonsThatTheRecordNames) {
    for (int bits = 0; bits < 8; ++bits) {
        QNErrorObject object;
        object.withRetry = (bits & 1) != 0;
        object.withClose = (bits & 2) != 0;
        object.withContactSupport = (bits & 4) != 0;
        object.info = u""_s;
        panel.setErrorObject(object);
        EXPECT_EQ(visible(), (std::vector<bool>{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, true})) << bits;
    }
}

TEST_F(QNErrorControllerTest, KeepsAnEmptySubtitleVisibleAndHidesAnAbsentOne) {
    QNErrorObject object;
    object.info = u""_s;
    panel.setErrorObject(object);
    EXPECT_FALSE(panel.infoText()->isHidden());
    object.info.reset();
    panel.setErrorObject(object);
    EXPECT_TRUE(panel.infoText()->isHidden());
}

TEST_F(QNErrorControllerTest, ClearsWhatTheRecordLeavesOut) {
    QNErrorObject object;
    object.title = u"Title"_s;
    object.message = u"Message"_s;
    object.icon = imageNamed(u"dl"_s);
    panel.setErrorObject(object);
    panel.setErrorObject(QNErrorObject());
    EXPECT_EQ(panel.errorTitle()->string(), QString());
    EXPECT_EQ(panel.errorMessage()->string(), QString());
    EXPECT_FALSE(panel.errorIcon()->image());
}

TEST_F(QNErrorControllerTest, KeepsTheRunsOfAStyledMessage) {
    QNErrorObject object;
    object.message = StyledText::hyperlinkFromString(u"here"_s, u"https://h/a"_s);
    panel.setErrorObject(object);
    EXPECT_EQ(panel.errorMessage()->text(), *object.message);
    EXPECT_TRUE(panel.errorMessage()->hyperlinkInfos());
}

TEST_F(QNErrorControllerTest, PostsOneNotificationForEachButton) {
    panel.contactSupportButton()->setHidden(false);
    show();
    test::click(*panel.retryButton());
    test::click(*panel.contactSupportButton());
    test::click(*panel.closeButton());
    EXPECT_EQ(posted(),
              (QStringList{u"START_INSTALLATION"_s, u"SHOW_CONTACT_SUPPORT_BUTTON"_s, u"QUIT_INSTALLATION"_s}));
}

TEST_F(QNErrorControllerTest, IgnoresTheLabelThatItIsGivenForTheLinkButton) {
    panel.setCloseButtonLabel(u"Anything else"_s);
    EXPECT_EQ(lookOf(*panel.closeButton()),
              (ButtonLook{u"Download"_s, u"#FFFFFF"_s, {u"Common Sans"_s, 14.0}, u"#000000"_s, 25.0}));
    EXPECT_TRUE(panel.customActionOnClose());
}

TEST_F(QNErrorControllerTest, HandsTheLinkOnWithTheWishToQuit) {
    show();
    panel.setCloseButtonLabel(u"Download"_s);
    panel.setCloseButtonLink(u"https://h/a"_s);
    EXPECT_EQ(panel.customActionLink(), u"https://h/a"_s);
    test::click(*panel.closeButton());
    EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION {\"link\":\"https://h/a\"}"_s});
}

TEST_F(QNErrorControllerTest, QuitsWithoutALinkWhenNoneWasStored) {
    show();
    panel.setCloseButtonLabel(u"Download"_s);
    panel.setCloseButtonLink(std::nullopt);
    test::click(*panel.closeButton());
    EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION {}"_s});
}

TEST_F(QNErrorControllerTest, StaysInLinkModeForLaterRecords) {
    panel.setCloseButtonLabel(u"Download"_s);
    panel.setCloseButtonLink(u"https://h/a"_s);
    QNErrorObject object;
    object.withClose = 1;
    panel.setErrorObject(object);
    show();
    EXPECT_EQ(panel.closeButton()->title(), u"Download"_s);
    test::click(*panel.closeButton());
    EXPECT_EQ(posted(), QStringList{u"QUIT_INSTALLATION {\"link\":\"https://h/a\"}"_s});
}
