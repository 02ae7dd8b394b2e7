#include "platform/base/Color.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

std::optional<unsigned> digitValue(QChar character) {
    const char16_t unit = character.unicode();
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    if (unit >= u'a' && unit <= u'f') {
        return unit - u'a' + 10U;
    }
    if (unit >= u'A' && unit <= u'F') {
        return unit - u'A' + 10U;
    }
    return std::nullopt;
}

// What a lenient scanner makes of two characters: the leading digits. In "0x" the zero alone counts, as any digit does
// that is followed by something else.
std::optional<unsigned> pairValue(QChar first, QChar second) {
    const std::optional<unsigned> high = digitValue(first);
    if (!high) {
        return std::nullopt;
    }
    const std::optional<unsigned> low = digitValue(second);
    return low ? *high * 16U + *low : *high;
}

// The text without #, each character of the short form doubled; absent for a wrong length.
std::optional<QString> sixCharacters(QString text) {
    text.remove(QLatin1Char('#'));
    if (text.size() == 6) {
        return text;
    }
    if (text.size() != 3) {
        return std::nullopt;
    }
    QString doubled;
    for (const QChar character : std::as_const(text)) {
        doubled += QString(2, character);
    }
    return doubled;
}

} // namespace

std::optional<Color> Color::colorWithHex(const QString& text) {
    const std::optional<QString> digits = sixCharacters(text);
    if (!digits) {
        return std::nullopt;
    }
    std::array<double, 3> components{};
    std::size_t count = 0;
    for (qsizetype index = 0; index + 1 < digits->size(); index += 2) {
        const QChar first = digits->at(index);
        const QChar second = digits->at(index + 1);
        if (first.isNull() || second.isNull()) {
            break;
        }
        if (const std::optional<unsigned> value = pairValue(first, second)) {
            components.at(count++) = static_cast<double>(static_cast<float>(*value) / 255.0F);
        }
    }
    return Color{components[0], components[1], components[2], 1.0};
}

QString Color::hexColor() const {
    const auto digits = [](double component) {
        return u"%1"_s.arg(static_cast<int>(component * 255.0), 2, 16, QLatin1Char('0')).toUpper();
    };
    return QLatin1Char('#') + digits(red) + digits(green) + digits(blue);
}
