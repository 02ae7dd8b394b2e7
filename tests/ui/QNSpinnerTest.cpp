#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/ImageView.h"
#include "ui/QNSpinner.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <numbers>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class QNSpinnerTest : public UserInterfaceTest {
protected:
    QNSpinnerTest() {
        parent.resize(200, 200);
        spinner.setParent(&parent);
        spinner.setGeometry(82, 82, 36, 36);
    }

    void show() {
        parent.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&parent));
    }
    qsizetype pictureViews() const { return spinner.findChildren<ImageView*>().size(); }
    // Where the middle of the bright arc is, in degrees clockwise from the right. The picture's own reaches from the
    // top to the right.
    double angle() {
        const QImage picture = spinner.grab().toImage();
        double x = 0.0;
        double y = 0.0;
        for (int row = 0; row < picture.height(); ++row) {
            for (int column = 0; column < picture.width(); ++column) {
                const QColor color = picture.pixelColor(column, row);
                const double blueness = std::max(0, color.blue() - color.red() - 60);
                x += blueness * (column - picture.width() / 2.0);
                y += blueness * (row - picture.height() / 2.0);
            }
        }
        return std::atan2(y, x) * 180.0 / std::numbers::pi;
    }
    static void turnLoopFor(std::chrono::milliseconds duration) {
        QElapsedTimer clock;
        clock.start();
        test::waitFor([&] { return clock.elapsed() >= duration.count(); });
    }

    QWidget parent;
    QNSpinner spinner;
};

} // namespace

TEST_F(QNSpinnerTest, HoldsNoPictureBeforeItIsSeen) {
    EXPECT_EQ(spinner.spinner(), nullptr);
    EXPECT_EQ(pictureViews(), 0);
}

TEST_F(QNSpinnerTest, AddsAPictureViewOfFixedSizeWhenItIsFirstSeen) {
    show();
    EXPECT_EQ(pictureViews(), 1);
    ASSERT_NE(spinner.spinner(), nullptr);
    EXPECT_EQ(spinner.spinner()->geometry(), QRect(0, 0, 36, 36));
    EXPECT_EQ(spinner.spinner()->imageName(), u"connecting_Spinner"_s);
}

TEST_F(QNSpinnerTest, AddsNoneInTwoSecondsOfTurning) {
    show();
    turnLoopFor(2s);
    EXPECT_EQ(pictureViews(), 1);
}

TEST_F(QNSpinnerTest, AddsOneMoreAtEachDrawing) {
    show();
    const ImageView* const first = spinner.spinner();
    spinner.drawRect();
    EXPECT_EQ(pictureViews(), 2);
    EXPECT_NE(spinner.spinner(), first);
    spinner.setNeedsDisplay();
    EXPECT_TRUE(test::waitFor([this] { return pictureViews() == 3; }));
    spinner.resize(40, 40);
    EXPECT_EQ(pictureViews(), 4);
}

TEST_F(QNSpinnerTest, TurnsAboutTheMiddleOfItsFrame) {
    spinner.setGeometry(82, 81, 36, 37);
    show();
    EXPECT_EQ(spinner.layerAnchorPoint(), QPointF(0.5, 0.5));
    EXPECT_EQ(spinner.layerPosition(), QPointF(100.0, 99.5));
}

TEST_F(QNSpinnerTest, RoundsThePositionThroughSinglePrecision) {
    // Halfway between two numbers that single precision has there: the even one is taken.
    spinner.setGeometry(16777217, 3, 36, 37);
    spinner.drawRect();
    EXPECT_EQ(spinner.layerPosition(), QPointF(16777236.0, 21.5));
}

TEST_F(QNSpinnerTest, BeginsItsTurnAnewAtEachDrawing) {
    show();
    ASSERT_TRUE(test::waitFor([this] { return std::abs(std::remainder(angle() - 135.0, 360.0)) < 60.0; }));
    spinner.drawRect();
    EXPECT_NEAR(angle(), -45.0, 60.0) << "upright, or a moment later";
}

TEST_F(QNSpinnerTest, TurnsOnceASecondAsALayerCounts) {
    EXPECT_EQ(QNSpinner::kDuration, 1000ms);
    EXPECT_EQ(QNSpinner::rotationAt(0ms), 0.0);
    EXPECT_DOUBLE_EQ(QNSpinner::rotationAt(250ms), -6.283185482025146 / 4.0);
    EXPECT_DOUBLE_EQ(QNSpinner::rotationAt(1000ms), -6.283185482025146);
}

TEST_F(QNSpinnerTest, TurnsClockwiseOnTheScreen) {
    show();
    double turned = 0.0;
    double last = angle();
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 2000) {
        turnLoopFor(40ms);
        const double now = angle();
        turned += std::remainder(now - last, 360.0);
        last = now;
    }
    const double expected = 360.0 * static_cast<double>(clock.elapsed()) / 1000.0;
    EXPECT_NEAR(turned, expected, 45.0) << "y grows downwards, so clockwise is positive";
}

TEST_F(QNSpinnerTest, StartsAgainAfterItWasHiddenAndAddsNothing) {
    show();
    parent.hide();
    turnLoopFor(100ms);
    parent.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&parent));
    const QImage before = spinner.grab().toImage();
    EXPECT_TRUE(test::waitFor([&] { return spinner.grab().toImage() != before; }));
    EXPECT_EQ(pictureViews(), 1);
}

TEST_F(QNSpinnerTest, StartsAgainWhetherOrNotATurnWasFinished) {
    show();
    for (const bool finished : {true, false}) {
        spinner.animationDidStop(finished);
        const QImage before = spinner.grab().toImage();
        EXPECT_TRUE(test::waitFor([&] { return spinner.grab().toImage() != before; }));
    }
}
