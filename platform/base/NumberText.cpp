#include "platform/base/NumberText.h"

#include <QByteArray>
#include <QLocale>

#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

bool isSkipped(QChar unit) {
    const char16_t code = unit.unicode();
    return code <= 0x20 || (code >= 0x7F && code <= 0xA0) || (code >= 0x2000 && code <= 0x200B) || code == 0x3000;
}

// What can stand in a decimal number, as bytes; the first other unit ends it.
QByteArray numberCandidate(const QString& text) {
    qsizetype at = 0;
    while (at < text.size() && isSkipped(text[at])) {
        ++at;
    }
    QByteArray candidate;
    for (; at < text.size(); ++at) {
        const char byte = text[at].toLatin1();
        if (byte == '\0' || !std::strchr("0123456789+-.eE", byte)) {
            break;
        }
        candidate += byte;
    }
    return candidate;
}

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

qsizetype afterDigits(const QByteArray& text, qsizetype at) {
    while (at < text.size() && isDigit(text[at])) {
        ++at;
    }
    return at;
}

qsizetype afterSign(const QByteArray& text, qsizetype at) {
    return at < text.size() && (text[at] == '+' || text[at] == '-') ? at + 1 : at;
}

// The longest decimal number that the text begins with; empty when none does.
QByteArray leadingNumber(const QByteArray& text) {
    const qsizetype begin = afterSign(text, 0);
    const qsizetype whole = afterDigits(text, begin);
    const bool hasPoint = whole < text.size() && text[whole] == '.';
    const qsizetype end = hasPoint ? afterDigits(text, whole + 1) : whole;
    if (end - begin - (hasPoint ? 1 : 0) == 0) {
        return {};
    }
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        const qsizetype exponent = afterSign(text, end + 1);
        const qsizetype last = afterDigits(text, exponent);
        return text.left(last > exponent ? last : end);
    }
    return text.left(end);
}

int hexDigitValue(QChar unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit.unicode() - u'0';
    }
    if (unit >= u'a' && unit <= u'f') {
        return unit.unicode() - u'a' + 10;
    }
    if (unit >= u'A' && unit <= u'F') {
        return unit.unicode() - u'A' + 10;
    }
    return -1;
}

} // namespace

namespace NumberText {

double doubleValue(const QString& text) {
    // Qt's conversion takes words and groups of digits too: it gets the number alone. A value too large comes out
    // infinite, one too small as zero.
    return QLocale::c().toDouble(QString::fromLatin1(leadingNumber(numberCandidate(text))));
}

std::optional<unsigned> hexInt(const QString& text) {
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace()) {
        ++at;
    }
    const bool prefixed = text.mid(at, 2).compare(u"0x"_s, Qt::CaseInsensitive) == 0;
    if (prefixed && at + 2 < text.size() && hexDigitValue(text[at + 2]) >= 0) {
        at += 2;
    }
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
