#include "ui/Fonts.h"

#include "platform/Bundle.h"
#include "platform/Display.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <future>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr double kDefaultSize = 12.0;

// One character has several forms, and left to itself the system takes those of its own language, not of ours.
QString hanFamily() {
    static const QString family = [] {
        const QString language = platform::chosenLocalization();
        return language == u"ja"_s        ? u"Noto Sans CJK JP"_s
               : language == u"ko"_s      ? u"Noto Sans CJK KR"_s
               : language == u"zh-Hant"_s ? u"Noto Sans CJK TC"_s
               : language == u"zh-Hans"_s ? u"Noto Sans CJK SC"_s
                                          : QString();
    }();
    return family;
}

std::pair<QStringList, QFont::Weight> familiesAndWeight(const QString& name) {
    static const QString product = u"CommonSans"_s;
    QString compact = name;
    compact.remove(QLatin1Char(' '));
    if (compact != product && !compact.startsWith(product + QLatin1Char('-'))) {
        return {{name, u"sans-serif"_s}, QFont::Normal};
    }
    const QString style = compact.mid(product.size() + 1);
    const QFont::Weight weight = style == QLatin1String("Light")    ? QFont::Light
                                 : style == QLatin1String("Medium") ? QFont::Medium
                                 : style == QLatin1String("Bold")   ? QFont::Bold
                                                                    : QFont::Normal;
    QStringList families{u"Inter"_s, u"Noto Sans Hebrew"_s, u"Noto Sans"_s, u"sans-serif"_s};
    if (const QString han = hanFamily(); !han.isEmpty()) {
        families.insert(1, han);
    }
    return {families, weight};
}

void paintLetter() {
    constexpr int kSize = 16;
    QImage picture(kSize, kSize, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&picture);
    painter.setFont(fontFor({kCommonSans, kSize}));
    painter.drawText(QPoint(0, kSize), u"a"_s);
}

std::future<void>& loading() {
    static auto* const loading = new std::future<void>; // never destroyed: the process ends without waiting for it
    return *loading;
}

} // namespace

QFont fontFor(const FontChoice& choice) {
    platform::waitForOwnFonts();
    const auto [families, weight] = familiesAndWeight(choice.name);
    QFont font(families);
    font.setWeight(weight);
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(choice.size))));
    font.setStyleHint(QFont::SansSerif);
    // Outlines as designed: glyph widths then grow with the scale and lines break alike at every scale.
    font.setHintingPreference(QFont::PreferNoHinting);
    // As on macOS: no coloured fringes, which nobody can place on a window that may lie over anything.
    font.setStyleStrategy(QFont::NoSubpixelAntialias);
    return font;
}

FontChoice defaultFont() {
    return {QGuiApplication::font().family(), kDefaultSize};
}

// Where no thread is to be had, the letter is painted by whoever waits.
void loadFontsAhead() {
    loading() = std::async(paintLetter);
}

void waitForFonts() {
    if (loading().valid()) {
        loading().wait();
    }
}
