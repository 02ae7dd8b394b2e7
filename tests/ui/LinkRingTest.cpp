#include "config/QNConfig.h"
#include "install/QNMainController.h"
#include "sysinfo/LocaleChoice.h"
#include "tests/support/TestEnvironment.h"
#include "tests/ui/UserInterfaceTest.h"
#include "ui/HyperlinkTextField.h"
#include "ui/QNErrorController.h"
#include "ui/View.h"
#include "ui/Window.h"

#include <QCoreApplication>
#include <QImage>

#include <algorithm>

using namespace Qt::StringLiterals;

// The ring around a link that has the keyboard, by the window's pixels, in every language.

namespace {

constexpr double kDistance = 3.0; // points between a link's letters and its ring

bool isInk(QRgb pixel) {
    return qGray(pixel) < 200;
}

// Runs in a process of its own for each language, at a scale at which pixels tell of half a point.
class LinkRing : public UserInterfaceTest {
protected:
    LinkRing() {
        for (const char* const key : {"visitOnlineHelpSiteUrl", "downloadAndInstallLatestVersionUrl", "clickHereUrl"}) {
            test::setSetting(QLatin1String(key), u"https://h/page"_s);
        }
    }
    QImage pixels() {
        QCoreApplication::processEvents();
        return window().grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
    // The lines of one link, in pixels.
    std::vector<QRect> piecesOf(const HyperlinkTextField& field, const TextRange& range) {
        std::vector<QRect> pieces;
        const QPointF corner = field.mapTo(&window(), QPointF());
        const auto infos = field.hyperlinkInfos();
        for (const HyperlinkInfo& info : infos.value()) {
            if (info.range == range) {
                const QRectF rect = info.rect.translated(corner);
                pieces.push_back(QRectF(rect.topLeft() * scale_, rect.size() * scale_).toRect());
            }
        }
        return pieces;
    }
    void expectRingsAround(HyperlinkTextField& field) {
        const auto links = field.links();
        for (std::size_t index = 0; index < links.size(); ++index) {
            window().setFocus();
            const QImage quiet = pixels();
            field.focusLink(index, Qt::TabFocusReason);
            expectClear(quiet, pixels(), piecesOf(field, links.at(index).range));
        }
        count_ += static_cast<int>(links.size());
    }
    // What differs is the ring. It lies on no letter, and keeps its distance from those of the link.
    void expectClear(const QImage& quiet, const QImage& ringed, const std::vector<QRect>& link) {
        const auto reach = static_cast<int>(kDistance * scale_) - 1; // smoothed edges take a pixel
        int ring = 0;
        int onLetters = 0;
        int close = 0;
        for (int y = reach; y < quiet.height() - reach; ++y) {
            for (int x = reach; x < quiet.width() - reach; ++x) {
                if (ringed.pixel(x, y) == quiet.pixel(x, y)) {
                    continue;
                }
                ++ring;
                onLetters += isInk(quiet.pixel(x, y)) ? 1 : 0;
                close += isCloseToLink(quiet, {x, y}, reach, link) ? 1 : 0;
            }
        }
        EXPECT_GT(ring, 200);
        EXPECT_EQ(onLetters, 0);
        EXPECT_EQ(close, 0);
    }
    static bool isCloseToLink(const QImage& quiet, const QPoint& at, int reach, const std::vector<QRect>& link) {
        for (int y = at.y() - reach; y <= at.y() + reach; ++y) {
            for (int x = at.x() - reach; x <= at.x() + reach; ++x) {
                const auto holds = [&](const QRect& piece) { return piece.contains(x, y); };
                const bool near = (x - at.x()) * (x - at.x()) + (y - at.y()) * (y - at.y()) < reach * reach;
                if (near && isInk(quiet.pixel(x, y)) && std::any_of(link.begin(), link.end(), holds)) {
                    return true;
                }
            }
        }
        return false;
    }

    double scale_ = qEnvironmentVariable("QT_SCALE_FACTOR").toDouble();
    int count_ = 0;
};

} // namespace

TEST_F(LinkRing, DISABLED_KeepsClearOfAllLetters) {
    shownWindow();
    QNErrorController& panel = *controller().errorController();
    controller().showGenericError();
    expectRingsAround(*panel.errorMessage());
    expectRingsAround(*panel.infoText());
    controller().setConfig(std::make_shared<QNConfig>(
        QVariantMap{{u"userAction"_s, QVariantList{QVariantMap{{u"action"_s, u"openLink"_s},
                                                               {u"isActive"_s, u"1"_s},
                                                               {u"actionUrl"_s, u"https://h/get"_s}}}}}));
    controller().showGenericDownloadScreen();
    expectRingsAround(*panel.errorMessage());
    EXPECT_EQ(count_, 4);
}

TEST(LinkRings, KeepTheirDistanceAndRunOverNoLetterInAnyLanguage) {
    for (const char* const locale : LocaleChoice::kSupportedLocales) {
        const QString language = QString::fromLatin1(QByteArray(locale).replace('-', '_'));
        const QByteArray failures =
            test::failuresOf(u"LinkRing.DISABLED_KeepsClearOfAllLetters"_s,
                             {{u"LANG"_s, language + u".UTF-8"_s}, {u"QT_SCALE_FACTOR"_s, u"2"_s}});
        EXPECT_TRUE(failures.isEmpty()) << locale << '\n' << failures.toStdString();
    }
}
