#include "install/QNMainController.h"
#include "platform/Bundle.h"
#include "sysinfo/QNSystemInfo.h"
#include "tests/support/QtPrinters.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNErrorController.h"
#include "ui/QNSpinner.h"
#include "ui/TextView.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QScreen>
#include <QtTest/QTest>

#include <array>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

// The window's pixels on the display at each scale.

namespace {

const QColor kWhite(Qt::white);
const QColor kOutline(0x94, 0x94, 0x94);

// What counts as the same: the same glyphs and pixels, painted in one go or in two.
constexpr double kSame = 0.1;

// Runs in a process of its own for each scale; see below.
class ScaledWindow : public UserInterfaceTest {
protected:
    double scale() { return window().devicePixelRatioF(); }
    // The whole display with the shown window on a plain desktop, once nothing is being painted any more.
    QImage screen() {
        EXPECT_EQ(scale(), qEnvironmentVariable("QT_SCALE_FACTOR").toDouble());
        showBackdrop();
        shownWindow();
        return settledWindow();
    }
    QImage settledWindow() {
        const QPoint inside = contentInPixels().topLeft() + QPoint(contentInPixels().width() / 2, 2);
        EXPECT_TRUE(test::waitFor([&] { return test::screenPixels().pixelColor(inside) == kWhite; }));
        return test::settledScreen();
    }
    // The content view's own pixels.
    QImage content() { return screen().copy(contentInPixels()); }
    // A widget's rectangle in them. Every widget of ours lies on whole points.
    QRect frameOf(const QWidget& widget) {
        const QPointF corner = QPointF(widget.mapTo(window().contentView(), QPoint())) * scale();
        return {corner.toPoint(), (QSizeF(widget.size()) * scale()).toSize()};
    }
    // The file of a picture for a display of this scale.
    QImage fileForScale(const QString& name) {
        const double larger = std::ceil(scale());
        const QString file = larger == 1.0 ? name : u"%1@%2x"_s.arg(name).arg(larger);
        QImage picture(Bundle::mainBundle().pathForResource(file, u"png"_s).value_or(QString()));
        EXPECT_FALSE(picture.isNull()) << qPrintable(file);
        picture.setDevicePixelRatio(1.0);
        return picture;
    }
    // A widget's pixels when it is painted so, on a display of this scale.
    QImage drawn(const QWidget& widget, const QColor& background, const std::function<void(QPainter&)>& paint) {
        QImage picture(contentInPixels().size(), QImage::Format_RGB32);
        picture.fill(background);
        picture.setDevicePixelRatio(scale());
        QPainter painter(&picture);
        painter.translate(widget.mapTo(window().contentView(), QPoint()));
        paint(painter);
        painter.end();
        picture.setDevicePixelRatio(1.0);
        return picture.copy(frameOf(widget));
    }
    QImage drawnText(const QWidget& widget, const QColor& background, const TextView& text) {
        return drawn(widget, background, [&text](QPainter& painter) { text.draw(painter); });
    }
};

// What a pixel at (x, y) from a corner of the body, counted inwards, belongs to.
enum class Belongs { kOutside, kEdge, kInside };

Belongs belongs(int x, int y, double radius) {
    const double right = radius - (x + 0.5);
    const double down = radius - (y + 0.5);
    const double distance = right > 0.0 && down > 0.0 ? std::hypot(right, down) : 0.0;
    if (distance > radius + 0.75) {
        return Belongs::kOutside;
    }
    return distance > radius - 0.75 ? Belongs::kEdge : Belongs::kInside;
}

using CheckPixel = std::function<void(Belongs, const QColor&, const QPoint&)>;

// Visits all pixels around the four corners, a little farther in than the radius reaches.
void visitCorners(const QImage& screen, const QRect& body, double radius, const CheckPixel& check) {
    const int reach = static_cast<int>(radius) + 3;
    for (int y = 0; y < reach; ++y) {
        for (int x = 0; x < reach; ++x) {
            const std::array<QPoint, 4> corners{
                QPoint(body.left() + x, body.top() + y), QPoint(body.right() - x, body.top() + y),
                QPoint(body.left() + x, body.bottom() - y), QPoint(body.right() - x, body.bottom() - y)};
            for (const QPoint& point : corners) {
                check(belongs(x, y, radius), screen.pixelColor(point), point);
            }
        }
    }
}

// The mean difference of two pictures, of 255.
double difference(const QImage& one, const QImage& other) {
    double sum = 0.0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            sum += std::abs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y)));
        }
    }
    return sum / (static_cast<double>(one.width()) * one.height());
}

} // namespace

TEST_F(ScaledWindow, DISABLED_IsCutToItsRoundedShape) {
    const QImage pixels = screen();
    EXPECT_FALSE(window().showsShadow());
    const double radius = 8.0 * scale();
    visitCorners(pixels, contentInPixels(), radius, [](Belongs belongs, const QColor& color, const QPoint& point) {
        if (belongs != Belongs::kInside && color == test::kBackdrop) {
            return;
        }
        EXPECT_TRUE(belongs != Belongs::kOutside && (color == kWhite || color == kOutline))
            << point.x() << ',' << point.y() << ' ' << qPrintable(color.name());
    });
    const QRect around = contentInPixels().adjusted(-1, -1, 1, 1);
    const int far = static_cast<int>(radius) + 3;
    for (int x = contentInPixels().left() + far; x <= contentInPixels().right() - far; ++x) {
        EXPECT_EQ(pixels.pixelColor(x, around.top()), test::kBackdrop);
        EXPECT_EQ(pixels.pixelColor(x, contentInPixels().top()), kOutline);
        EXPECT_EQ(pixels.pixelColor(x, contentInPixels().top() + 1), kWhite);
        EXPECT_EQ(pixels.pixelColor(x, contentInPixels().bottom() - 1), kWhite);
        EXPECT_EQ(pixels.pixelColor(x, contentInPixels().bottom()), kOutline);
        EXPECT_EQ(pixels.pixelColor(x, around.bottom()), test::kBackdrop);
    }
    for (int y = contentInPixels().top() + far; y <= contentInPixels().bottom() - far; ++y) {
        EXPECT_EQ(pixels.pixelColor(around.left(), y), test::kBackdrop);
        EXPECT_EQ(pixels.pixelColor(contentInPixels().left(), y), kOutline);
        EXPECT_EQ(pixels.pixelColor(contentInPixels().left() + 1, y), kWhite);
        EXPECT_EQ(pixels.pixelColor(contentInPixels().right() - 1, y), kWhite);
        EXPECT_EQ(pixels.pixelColor(contentInPixels().right(), y), kOutline);
        EXPECT_EQ(pixels.pixelColor(around.right(), y), test::kBackdrop);
    }
}

TEST_F(ScaledWindow, DISABLED_HasSmoothCornersAndAShadow) {
    const test::DisplayProgram compositor(u"xcompmgr"_s);
    shownWindow();
    ASSERT_TRUE(test::waitFor([this] { return window().showsShadow(); }));
    const QImage pixels = screen();
    // The backdrop has no red, so red tells how much of the body a pixel shows, and blue how dark the shadow is.
    int between = 0;
    visitCorners(pixels, contentInPixels(), 8.0 * scale(),
                 [&](Belongs belongs, const QColor& color, const QPoint& point) {
                     EXPECT_GT(color.blue(), 150) << "black at " << point.x() << ',' << point.y();
                     EXPECT_TRUE(belongs != Belongs::kOutside || color.red() < 30) << point.x() << ',' << point.y();
                     EXPECT_TRUE(belongs != Belongs::kInside || color == kWhite) << point.x() << ',' << point.y();
                     between += color.red() > 30 && color.red() < 225 ? 1 : 0;
                 });
    EXPECT_GE(between, 4 * 4 * scale()) << "each corner is smooth along its arc";
    const auto darknessBelow = [&](double points) {
        const int y = contentInPixels().bottom() + static_cast<int>(points * scale());
        return test::kBackdrop.blue() - pixels.pixelColor(contentInPixels().center().x(), y).blue();
    };
    EXPECT_GT(darknessBelow(3), 20);
    EXPECT_GT(darknessBelow(3), darknessBelow(20));
    EXPECT_EQ(darknessBelow(60), 0);
}

TEST_F(ScaledWindow, DISABLED_ShowsItsPicturesAtItsScale) {
    controller().showGenericError();
    const QImage pixels = content();
    const auto expectPicture = [&](const QWidget& view, const QString& name, double points) {
        const QImage file = fileForScale(name);
        EXPECT_EQ(file.width(), std::ceil(scale()) * points);
        const double side = (view.width() - points) / 2.0;
        const double above = (view.height() - points) / 2.0;
        const QImage expected = drawn(view, Qt::white, [&](QPainter& painter) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(QRectF(side, above, points, points), file, QRectF(file.rect()));
        });
        EXPECT_LE(difference(pixels.copy(frameOf(view)), expected), kSame) << qPrintable(name);
    };
    expectPicture(*controller().errorController()->errorIcon(), u"install_failed_block_img"_s, 112.0);
    expectPicture(*controller().closeButton(), u"window_close"_s, 32.0);
}

TEST_F(ScaledWindow, DISABLED_ShowsItsSpinnerAtItsScale) {
    shownWindow();
    controller().errorView()->setHidden(true);
    controller().spinnerView()->setHidden(false);
    const auto* const spinner = controller().spinnerView()->findChild<QNSpinner*>();
    ASSERT_NE(spinner, nullptr);
    const QRect part = frameOf(*spinner);
    QImage pixels;
    // It turns all the while: the display does not settle.
    EXPECT_TRUE(test::waitFor([&] {
        pixels = test::screenPixels().copy(contentInPixels()).copy(part);
        return pixels.pixelColor(pixels.width() / 2, static_cast<int>(3 * scale())) != kWhite &&
               pixels.pixelColor(0, 0) == kWhite;
    }));
    const QImage file = fileForScale(u"connecting_Spinner"_s);
    double least = 255.0;
    for (int degrees = 0; degrees < 360; ++degrees) {
        const QImage turned = drawn(*spinner, Qt::white, [&](QPainter& painter) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.translate(18.0, 18.0);
            painter.rotate(degrees);
            painter.drawImage(QRectF(-18.0, -18.0, 36.0, 36.0), file, QRectF(file.rect()));
        });
        least = std::min(least, difference(pixels, turned));
    }
    // Half a degree beside, it is 0.4 at most; drawn at scale 1 and enlarged it would be 1.4 and more.
    EXPECT_LE(least, 0.6);
}

TEST_F(ScaledWindow, DISABLED_ShowsItsTextsAtItsScale) {
    controller().showGenericError();
    const QImage pixels = content();
    const QNErrorController& panel = *controller().errorController();
    for (const TextField* field : {panel.errorTitle(), static_cast<TextField*>(panel.errorMessage()),
                                   static_cast<TextField*>(panel.infoText())}) {
        const TextView view(field->shownText(), QRectF(field->rect()), field->alignment());
        const QImage shown = pixels.copy(frameOf(*field));
        EXPECT_LE(difference(shown, drawnText(*field, Qt::white, view)), kSame) << qPrintable(field->objectName());
    }
    for (const Button* button : {panel.closeButton(), panel.contactSupportButton()}) {
        const double height = TextView(button->attributedTitle(), QRectF(button->rect()), Qt::AlignHCenter).height();
        const QRectF line(0.0, (button->height() - height) / 2.0, button->width(), height);
        const TextView view(button->attributedTitle(), line, Qt::AlignHCenter);
        const QColor background(paintColor(button->layer().backgroundColor.value()));
        // Its rounded ends are not text.
        const int end = static_cast<int>(26.0 * scale());
        const QRect middle = QRect(QPoint(), frameOf(*button).size()).adjusted(end, 0, -end, 0);
        const QImage shown = pixels.copy(frameOf(*button)).copy(middle);
        const QImage expected = drawnText(*button, background, view).copy(middle);
        EXPECT_LE(difference(shown, expected), kSame) << qPrintable(button->objectName());
    }
}

namespace {

// A display of its own, large enough for the window at every scale.
class AtScale : public testing::TestWithParam<const char*> {
protected:
    AtScale() {
        server_.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"2160x1920x24"_s, u"-noreset"_s,
                                  u"-nolisten"_s, u"tcp"_s});
        EXPECT_TRUE(server_.waitForStarted() && server_.waitForReadyRead());
        display_ = u':' + QString::fromLatin1(server_.readLine()).trimmed();
    }
    ~AtScale() override {
        server_.terminate();
        server_.waitForFinished();
    }
    // Runs a case of the scaled window there.
    void expectPassed(const QString& name) {
        const QByteArray failures =
            test::failuresOf(u"ScaledWindow.DISABLED_"_s + name,
                             {{u"DISPLAY"_s, display_}, {u"QT_SCALE_FACTOR"_s, QString::fromLatin1(GetParam())}});
        EXPECT_TRUE(failures.isEmpty()) << failures.toStdString();
    }

private:
    QProcess server_;
    QString display_;
};

} // namespace

TEST_P(AtScale, IsCutToItsRoundedShapeWithoutACompositor) {
    expectPassed(u"IsCutToItsRoundedShape"_s);
}

TEST_P(AtScale, HasSmoothCornersAndAShadowWithACompositor) {
    expectPassed(u"HasSmoothCornersAndAShadow"_s);
}

TEST_P(AtScale, ShowsItsPicturesInThePixelsOfTheirFiles) {
    expectPassed(u"ShowsItsPicturesAtItsScale"_s);
}

TEST_P(AtScale, DrawsItsTextsForItsPixels) {
    expectPassed(u"ShowsItsTextsAtItsScale"_s);
}

TEST_P(AtScale, ShowsItsSpinnerInThePixelsOfItsFile) {
    expectPassed(u"ShowsItsSpinnerAtItsScale"_s);
}

INSTANTIATE_TEST_SUITE_P(Scales, AtScale, testing::Values("1", "1.5", "2", "3"));

TEST_F(ScaledWindow, DISABLED_KeepsWhatItNeedsOnTheScreen) {
    controller().showGenericError();
    window().center();
    shownWindow();
    const QNErrorController& panel = *controller().errorController();
    const QRect screen = window().screen()->geometry();
    EXPECT_EQ(QSizeF(screen.size()) * scale(), QSizeF(qEnvironmentVariable("SCREEN_WIDTH").toDouble(), 800.0));
    const auto onScreen = [this](const QWidget& widget) { return QRect(widget.mapToGlobal(QPoint()), widget.size()); };
    EXPECT_LE(window().contentView()->height(), 400);
    EXPECT_TRUE(screen.contains(onScreen(*controller().closeButton())));
    EXPECT_GE(onScreen(*window().contentView()).top(), screen.top());
    EXPECT_LE(onScreen(*window().contentView()).bottom(), screen.bottom());
    EXPECT_LE(onScreen(*panel.infoText()).bottom(), screen.bottom() - 10);
    EXPECT_GE(onScreen(*panel.infoText()).top(), onScreen(*panel.closeButton()).bottom());
    EXPECT_GE(panel.errorIcon()->height(), 90) << "the picture has become smaller by what is missing";
    controller().showConnectingScreen();
    EXPECT_TRUE(screen.contains(onScreen(*controller().closeButton())));
    EXPECT_LE(onScreen(*controller().connectingLabel()).bottom(), screen.bottom());
}

// 400 points high at this scale, and the narrower one less wide than the window, too.
TEST(SmallScreen, ShowsTheWholeWindowFromItsCrossToItsHelpLine) {
    for (const QString& width : {u"1280"_s, u"1200"_s}) {
        QProcess server;
        server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, width + u"x800x24"_s, u"-noreset"_s,
                                 u"-nolisten"_s, u"tcp"_s});
        ASSERT_TRUE(server.waitForStarted() && server.waitForReadyRead());
        const QByteArray failures =
            test::failuresOf(u"ScaledWindow.DISABLED_KeepsWhatItNeedsOnTheScreen"_s,
                             {{u"DISPLAY"_s, u':' + QString::fromLatin1(server.readLine()).trimmed()},
                              {u"SCREEN_WIDTH"_s, width},
                              {u"QT_SCALE_FACTOR"_s, u"2"_s}});
        EXPECT_TRUE(failures.isEmpty()) << failures.toStdString();
        server.terminate();
        server.waitForFinished();
    }
}

TEST(ScreenSize, DISABLED_IsToldInWholePoints) {
    EXPECT_EQ(QNSystemInfo::getScreenResolution(), qEnvironmentVariable("EXPECTED_SIZE"));
}

TEST(ScreenSize, IsCutToWholePointsAndNotRounded) {
    const std::vector<std::array<const char*, 3>> cases{
        {"1280x1024x24", "1.3", "984x787"}, {"1366x768x24", "1.25", "1092x614"}, {"1760x1100x24", "1.1", "1600x1000"}};
    for (const auto& [screen, scale, expected] : cases) {
        QProcess server;
        server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, QString::fromLatin1(screen),
                                 u"-noreset"_s, u"-nolisten"_s, u"tcp"_s});
        ASSERT_TRUE(server.waitForStarted() && server.waitForReadyRead());
        const QByteArray failures =
            test::failuresOf(u"ScreenSize.DISABLED_IsToldInWholePoints"_s,
                             {{u"DISPLAY"_s, u':' + QString::fromLatin1(server.readLine()).trimmed()},
                              {u"QT_SCALE_FACTOR"_s, QString::fromLatin1(scale)},
                              {u"EXPECTED_SIZE"_s, QString::fromLatin1(expected)}});
        EXPECT_TRUE(failures.isEmpty()) << failures.toStdString();
        server.terminate();
        server.waitForFinished();
    }
}
