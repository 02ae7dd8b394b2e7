#include "platform/base/NumberText.h"

#include <QByteArray>

#include <charconv>
#include <limits>

namespace {

bool isSkipped(QChar unit) {
    const char16_t code = unit.unicode();
    return code <= 0x20 || (code >= 0x7F && code <= 0xA0) || (code >= 0x2000 && code <= 0x200B) || code == 0x3000;
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

// What can stand in a decimal number, as bytes; the first other unit ends it.
QByteArray numberCandidate(const QString& text) {
    qsizetype at = 0;
    while (at < text.size() && isSkipped(text[at]))
        ++at;
    QByteArray candidate;
    for (; at < text.size(); ++at) {
        const char byte = text[at].toLatin1();
        if (!isDigit(byte) && byte != '+' && byte != '-' && byte != '.' && byte != 'e' && byte != 'E')
            break;
        candidate += byte;
    }
    return candidate;
}

// from_chars reports "does not fit" alike for the infinite and the vanishing: a negative exponent tells them apart.
double outOfRangeValue(const QByteArray& digits) {
    const qsizetype exponent = digits.toLower().indexOf('e');
    const bool vanishes = exponent >= 0 && digits.mid(exponent + 1).startsWith('-');
    return vanishes ? 0.0 : std::numeric_limits<double>::infinity();
}

int hexDigitValue(QChar unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit.unicode() - u'0';
    if (unit >= u'a' && unit <= u'f')
        return unit.unicode() - u'a' + 10;
    if (unit >= u'A' && unit <= u'F')
        return unit.unicode() - u'A' + 10;
    return -1;
}

} // namespace

namespace NumberText {

double doubleValue(const QString& text) {
    QByteArray candidate = numberCandidate(text);
    const bool negative = candidate.startsWith('-');
    if (negative || candidate.startsWith('+'))
        candidate.remove(0, 1);
    // from_chars takes a sign of its own and words such as "inf": only a digit or a point may lead here.
    if (candidate.isEmpty() || (!isDigit(candidate[0]) && candidate[0] != '.'))
        return 0.0;
    double value = 0.0;
    const char* const end = candidate.constData() + candidate.size();
    const auto [stopped, error] = std::from_chars(candidate.constData(), end, value);
    if (error == std::errc::result_out_of_range)
        value = outOfRangeValue(candidate.left(stopped - candidate.constData()));
    else if (error != std::errc())
        return 0.0;
    return negative ? -value : value;
}

std::optional<unsigned> hexInt(const QString& text) {
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace())
        ++at;
    const bool prefixed = text.mid(at, 2).compare(QStringLiteral("0x"), Qt::CaseInsensitive) == 0;
    if (prefixed && at + 2 < text.size() && hexDigitValue(text[at + 2]) >= 0)
        at += 2;
    std::optional<unsigned> value;
    for (; at < text.size() && hexDigitValue(text[at]) >= 0; ++at) {
        const unsigned soFar = value.value_or(0);
        const bool overflows = soFar > std::numeric_limits<unsigned>::max() / 16;
        value = overflows ? std::numeric_limits<unsigned>::max()
                          : soFar * 16 + static_cast<unsigned>(hexDigitValue(text[at]));
    }
    return value;
}

} // namespace NumberText
