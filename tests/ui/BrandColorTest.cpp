#include "install/QNMainController.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/Button.h"
#include "ui/HyperlinkTextField.h"
#include "ui/ImageView.h"
#include "ui/QNErrorController.h"
#include "ui/TextView.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

using namespace Qt::StringLiterals;

// The window on a portal's own colour, by its pixels.

namespace {

constexpr std::array<const char*, 20> kColors{
    "#FFFFFF", "#000000", "#1A1A1A", "#595959", "#808080", "#C0C0C0", "#FF0000", "#8B0000", "#00FF00", "#006400",
    "#0000FF", "#00008B", "#FFFF00", "#FF00FF", "#00FFFF", "#FFA500", "#800080", "#2563EB", "#F4F0FA", "#767676"};
constexpr int kPadding = 10;

double luminance(QRgb color) {
    const auto linear = [](int value) {
        const double part = value / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

// Between what most of the picture is and what stands out from it most.
double contrastIn(const QImage& picture) {
    std::map<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ++counts[picture.pixel(x, y)];
        }
    }
    const auto most = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& one, const auto& other) { return one.second < other.second; });
    const double ground = luminance(most->first) + 0.05;
    double best = 1.0;
    for (const auto& [color, count] : counts) {
        const double other = luminance(color) + 0.05;
        best = std::max(best, std::max(ground, other) / std::min(ground, other));
    }
    return best;
}

bool isWhite(const QImage& picture) {
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != qRgb(255, 255, 255)) {
                return false;
            }
        }
    }
    return true;
}

class BrandColorTest : public UserInterfaceTest {
protected:
    void paintOn(const std::optional<Color>& color) {
        for (View* const view : {controller().view(), controller().errorController()->view()}) {
            Layer layer = view->layer();
            layer.backgroundColor = color;
            view->setLayer(layer);
        }
    }
    QRect inContent(const QWidget& widget) { return {widget.mapTo(window().contentView(), QPoint()), widget.size()}; }
    // Every line of every text stands on white, with white around it, and can be read.
    void expectReadable(const QImage& content, const QWidget& screen) {
        int checked = 0;
        for (const TextField* const field : screen.findChildren<TextField*>()) {
            if (!field->isVisible() || field->string().isEmpty()) {
                continue;
            }
            const QRect frame = inContent(*field);
            const QRect around = frame.adjusted(-kPadding, -kPadding, kPadding, kPadding);
            EXPECT_TRUE(content.rect().contains(around)) << qPrintable(field->objectName());
            for (const QRect& side : {QRect(around.left(), around.top(), kPadding, around.height()),
                                      QRect(frame.right() + 1, around.top(), kPadding, around.height())}) {
                EXPECT_TRUE(isWhite(content.copy(side))) << qPrintable(field->objectName());
            }
            EXPECT_GE(contrastIn(content.copy(frame)), 4.5) << qPrintable(field->objectName());
            ++checked;
        }
        EXPECT_GE(checked, 1);
        EXPECT_GE(contrastIn(content.copy(inContent(*controller().closeButton()).adjusted(5, 5, -5, -5))), 4.5);
    }
    QImage contentNow() {
        QImage picture(window().contentView()->size(), QImage::Format_RGB32);
        picture.fill(QColor(10, 60, 20)); // what may lie below
        window().contentView()->render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
        return picture;
    }
};

} // namespace

TEST_F(BrandColorTest, FramesACardOnWhichEverythingCanBeRead) {
    shownWindow();
    std::vector<std::optional<Color>> colors{std::nullopt};
    for (const char* const color : kColors) {
        colors.push_back(Color::colorWithHex(QLatin1String(color)));
    }
    for (const std::optional<Color>& color : colors) {
        SCOPED_TRACE(color ? paintColor(*color).name().toStdString() : "none");
        paintOn(color);
        controller().showGenericError();
        expectReadable(contentNow(), *controller().errorView());
        controller().showConnectingScreen();
        expectReadable(contentNow(), *controller().spinnerView());
    }
}

TEST_F(BrandColorTest, DrawsNothingButContentsOnWhite) {
    shownWindow();
    controller().showGenericError();
    paintOn(Color{1.0, 1.0, 1.0, 1.0});
    const QImage content = contentNow();
    for (int y = 0; y < content.height(); ++y) {
        ASSERT_EQ(content.pixel(24, y), qRgb(255, 255, 255)) << "the card's edge at " << y;
    }
    EXPECT_EQ(content.pixel(inContent(*controller().closeButton()).center() - QPoint(14, 0)), qRgb(255, 255, 255));
}

TEST_F(BrandColorTest, ShowsNoShadowInsideABodyWithoutAColour) {
    showBackdrop();
    const test::DisplayProgram compositor(u"xcompmgr"_s);
    Window& shown = shownWindow();
    ASSERT_TRUE(test::waitFor([&] { return shown.showsShadow(); }));
    paintOn(std::nullopt);
    controller().showGenericError();
    const QPoint corner = contentInPixels().topLeft();
    const QPoint besideCard = corner + QPoint(320, 30);
    EXPECT_TRUE(test::waitFor([&] { return test::screenPixels().pixelColor(besideCard) == test::kBackdrop; }));
    const QImage screen = test::settledScreen();
    for (int x = 10; x < 580; ++x) {
        ASSERT_EQ(screen.pixelColor(corner + QPoint(x, 4)).name(), test::kBackdrop.name()) << x;
        ASSERT_EQ(screen.pixelColor(corner + QPoint(x, 494)).name(), test::kBackdrop.name()) << x;
    }
    EXPECT_NE(screen.pixelColor(corner + QPoint(320, 506)).name(), test::kBackdrop.name()) << "below the body";
}

TEST_F(BrandColorTest, KeepsPictureHeadlineAndButtonsAtOneHeight) {
    shownWindow();
    const QNErrorController& panel = *controller().errorController();
    const auto heights = [&](const QWidget& button) {
        QCoreApplication::processEvents();
        return std::array<int, 3>{inContent(*panel.errorIcon()).top(), inContent(*panel.errorTitle()).top(),
                                  inContent(button).top()};
    };
    const std::array<int, 3> first = heights(*panel.retryButton());
    controller().showGenericError();
    EXPECT_EQ(heights(*panel.closeButton()), first);
    EXPECT_EQ(inContent(*panel.errorMessage()).width(), 470);
    EXPECT_EQ(inContent(*panel.errorMessage()).left(), 85) << "in the middle of 640";
    controller().showGenericDownloadScreen();
    EXPECT_EQ(heights(*panel.closeButton()), first);
    controller().showConnectingScreen();
    EXPECT_EQ(inContent(*controller().connectingLabel()).top(), first.at(1));
}
