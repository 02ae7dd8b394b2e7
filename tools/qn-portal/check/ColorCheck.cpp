#include "tools/qn-portal/check/ColorCheck.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

// What the window paints in a colour, and on what.
struct Use {
    QString key;
    QString onto; // empty: it is a background itself
    double least;
};

const std::array<Use, 3>& uses() {
    static const std::array<Use, 3> kUses{
        Use{u"PRIMARY_COLOR"_s, u"#F4F0FA"_s, 3.0}, // a headline of 24 points
        Use{u"SECONDARY_COLOR"_s, u"#FFFFFF"_s, 4.5},
        Use{u"BG_COLOR"_s, {}, 0.0},
    };
    return kUses;
}

double luminance(const Color& color) {
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

} // namespace

double contrast(const Color& one, const Color& other) {
    const std::pair<double, double> luminances = std::minmax({luminance(one), luminance(other)});
    const auto [dark, light] = luminances;
    return (light + 0.05) / (dark + 0.05);
}

void checkColors(Findings& findings, const BundleInfo& info, const QVariantMap& settings) {
    static const QRegularExpression kColor(u"^#?([0-9A-Fa-f]{3}|[0-9A-Fa-f]{6})$"_s);
    for (const Use& use : uses()) {
        const QString value = settings.value(use.key).toString();
        const auto color = Color::colorWithHex(value);
        if (!settings.contains(use.key)) {
            continue;
        }
        if (!color) {
            findings.add("bundle-color", info.place(use.key), {use.key, value});
            continue;
        }
        if (!kColor.match(value).hasMatch()) {
            findings.add("bundle-color-digits", info.place(use.key), {use.key, value, color->hexColor()});
            continue;
        }
        const double ratio = use.onto.isEmpty() ? 21.0 : contrast(*color, *Color::colorWithHex(use.onto));
        if (ratio < use.least) {
            findings.add("bundle-contrast", info.place(use.key),
                         {use.key, value, QString::number(ratio, 'f', 1), use.onto, QString::number(use.least)});
        }
    }
}

} // namespace portal::check
