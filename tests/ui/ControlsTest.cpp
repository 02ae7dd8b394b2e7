#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/QNButton.h"
#include "ui/QNClickableImageView.h"
#include "ui/QNClickableTextField.h"
#include "ui/QNTextFieldWithLinks.h"

#include <QtTest/QTest>

using namespace Qt::StringLiterals;

namespace {

// A button whose title needs a width that the case gives.
class FittedButton : public QNButton {
public:
    explicit FittedButton(int fittedWidth) : fittedWidth_(fittedWidth) {}
    QSize sizeHint() const override { return {fittedWidth_, 20}; }
    QSize minimumSizeHint() const override { return {0, 0}; }

private:
    int fittedWidth_;
};

class Receiver : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void pressed() { ++count; }
    int count = 0;
};

template <typename Control>
class HoverCursorTest : public UserInterfaceTest {
protected:
    HoverCursorTest() {
        window.resize(300, 200);
        control.setParent(&window);
        control.setGeometry(100, 80, 100, 40);
    }

    QWidget window;
    Control control;
};

using HoverControls = testing::Types<QNHoverButton, QNButton, QNClickableImageView, QNClickableTextField>;

} // namespace

TYPED_TEST_SUITE(HoverCursorTest, HoverControls);

TYPED_TEST(HoverCursorTest, ShowsTheHandOnEnteringAndTheArrowOnLeaving) {
    this->window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->window));
    QTest::mouseMove(&this->window, QPoint(150, 100));
    EXPECT_TRUE(test::waitFor([this] { return this->control.cursor().shape() == Qt::PointingHandCursor; }));
    QTest::mouseMove(&this->window, QPoint(10, 10));
    EXPECT_TRUE(test::waitFor([this] { return this->control.cursor().shape() == Qt::ArrowCursor; }));
    EXPECT_TRUE(this->control.testAttribute(Qt::WA_SetCursor)) << "the arrow is set, not inherited";
}

TYPED_TEST(HoverCursorTest, ShowsTheHandOverADisabledControlToo) {
    this->control.setEnabled(false);
    this->window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&this->window));
    QTest::mouseMove(&this->window, QPoint(150, 100));
    EXPECT_TRUE(test::waitFor([this] { return this->control.cursor().shape() == Qt::PointingHandCursor; }));
}

TYPED_TEST(HoverCursorTest, ReplacesItsTrackingAreaByOneOverTheCurrentBounds) {
    this->window.show();
    EXPECT_EQ(this->control.trackingArea(), (TrackingArea{QRectF(0, 0, 100, 40), 129, &this->control}));
    this->control.resize(50, 20);
    EXPECT_EQ(this->control.trackingArea(), (TrackingArea{QRectF(0, 0, 50, 20), 129, &this->control}));
}

TEST(QNButton, GrowsToBothSidesUpToItsFittedWidthPlusThirty) {
    FittedButton button(100);
    button.setGeometry(50, 10, 80, 40);
    button.sizeToFitIfSmall();
    EXPECT_EQ(button.geometry(), QRect(25, 10, 130, 40));
}

TEST(QNButton, KeepsItsFrameWhenItIsExactlyThirtyWider) {
    FittedButton button(100);
    button.setGeometry(50, 10, 130, 40);
    button.sizeToFitIfSmall();
    EXPECT_EQ(button.geometry(), QRect(50, 10, 130, 40));
}

TEST(QNButton, KeepsItsSizeWhenItIsWider) {
    FittedButton button(100);
    button.setGeometry(50, 10, 131, 40);
    button.sizeToFitIfSmall();
    EXPECT_EQ(button.geometry(), QRect(50, 10, 131, 40));
}

TEST(QNButton, IsNotInitedUntilSomebodySaysSo) {
    QNButton button;
    EXPECT_FALSE(button.isInited());
    button.setIsInited(true);
    EXPECT_TRUE(button.isInited());
}

namespace {

class PressedButtonTest : public UserInterfaceTest {
protected:
    PressedButtonTest() {
        Layer layer;
        layer.backgroundColor = Color{0.2, 0.4, 0.6, 0.5};
        layer.borderColor = Color{0.1, 0.2, 0.3, 1.0};
        button.setLayer(layer);
        button.resize(120, 40);
        button.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&button));
    }

    QNButton button;
};

} // namespace

TEST_F(PressedButtonTest, ReplacesTheAlphaWhileItIsHeld) {
    QTest::mousePress(&button, Qt::LeftButton);
    EXPECT_EQ(button.layer().backgroundColor, (Color{0.2, 0.4, 0.6, 0.699999988079071}));
    EXPECT_EQ(button.layer().borderColor, (Color{0.1, 0.2, 0.3, 0.699999988079071}));
    QTest::mouseRelease(&button, Qt::LeftButton);
    EXPECT_EQ(button.layer().backgroundColor, (Color{0.2, 0.4, 0.6, 0.5}));
    EXPECT_EQ(button.layer().borderColor, (Color{0.1, 0.2, 0.3, 1.0}));
}

TEST_F(PressedButtonTest, StaysDimmedWhenTheMouseIsDraggedOutside) {
    QTest::mousePress(&button, Qt::LeftButton);
    QTest::mouseMove(&button, QPoint(300, 300));
    EXPECT_EQ(button.layer().backgroundColor->alpha, 0.699999988079071);
    QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(300, 300));
    EXPECT_EQ(button.layer().backgroundColor->alpha, 0.5);
}

TEST_F(PressedButtonTest, IsRestoredWhenItIsHiddenWhileHeld) {
    QTest::mousePress(&button, Qt::LeftButton);
    button.hide();
    EXPECT_EQ(button.layer().backgroundColor->alpha, 0.5);
}

TEST(QNClickableTextField, CallsTheMethodOfItsTargetWhenItIsPressed) {
    QNClickableTextField field;
    const auto receiver = std::make_shared<Receiver>();
    field.onClick("pressed", receiver);
    QTest::mousePress(&field, Qt::LeftButton);
    EXPECT_EQ(receiver->count, 1);
    EXPECT_EQ(field.clickHandler(), "pressed");
    EXPECT_EQ(field.clickTarget(), receiver);
}

TEST(QNClickableTextField, CallsNobodyForAnotherButtonOfTheMouse) {
    QNClickableTextField field;
    const auto receiver = std::make_shared<Receiver>();
    field.onClick("pressed", receiver);
    QTest::mousePress(&field, Qt::RightButton);
    QTest::mousePress(&field, Qt::MiddleButton);
    EXPECT_EQ(receiver->count, 0);
}

TEST(QNClickableTextField, KeepsItsTargetAlive) {
    QNClickableTextField field;
    auto receiver = std::make_shared<Receiver>();
    const std::weak_ptr<Receiver> watched = receiver;
    field.onClick("pressed", std::move(receiver));
    QTest::mousePress(&field, Qt::LeftButton);
    ASSERT_FALSE(watched.expired());
    EXPECT_EQ(watched.lock()->count, 1);
}

TEST(QNClickableTextField, DoesNothingWithoutATargetOrAMethod) {
    QNClickableTextField field;
    QTest::mousePress(&field, Qt::LeftButton);
    field.onClick("pressed", nullptr);
    QTest::mousePress(&field, Qt::LeftButton);
    const auto receiver = std::make_shared<Receiver>();
    field.onClick({}, receiver);
    QTest::mousePress(&field, Qt::LeftButton);
    EXPECT_EQ(receiver->count, 0);
}

TEST(QNClickableTextField, TakesNoFocus) {
    QNClickableTextField field;
    field.resize(100, 30);
    field.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&field));
    QTest::mouseClick(&field, Qt::LeftButton);
    EXPECT_FALSE(field.hasFocus());
}

TEST(QNTextFieldWithLinks, PaintsAsItsBaseClassDoes) {
    TextField base;
    QNTextFieldWithLinks field;
    for (TextField* each : {&base, static_cast<TextField*>(&field)}) {
        each->setText(u"Some text"_s);
        each->resize(200, 40);
    }
    EXPECT_EQ(field.grab().toImage(), base.grab().toImage());
}

TEST_F(PressedButtonTest, ShowsThatTheMouseIsOverAButtonAndThatItIsHeld) {
    for (const char* const color : {"#000000", "#FFFFFF", "#FFF0F0"}) {
        button.setLayerColor(QLatin1String(color));
        button.setLayerRadius(0.0);
        button.setAttribute(Qt::WA_UnderMouse, false);
        button.setDown(false);
        const auto look = [this] { return button.grab().toImage().pixel(10, 25); };
        const QRgb quiet = look();
        button.setAttribute(Qt::WA_UnderMouse, true);
        const QRgb hovered = look();
        button.setDown(true);
        const QRgb held = look();
        EXPECT_GE(std::abs(qGray(hovered) - qGray(quiet)), 15) << color;
        EXPECT_GE(std::abs(qGray(held) - qGray(hovered)), 15) << color;
    }
}

#include "ControlsTest.moc"
