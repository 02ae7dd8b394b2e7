#include "platform/base/NumberText.h"

#include <QByteArray>
#include <QLocale>

#include <cstring>

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

} // namespace

namespace NumberText {

double doubleValue(const QString& text) {
    // Qt's conversion takes words and groups of digits too: it gets the number alone. A value too large comes out
    // infinite, one too small as zero.
    return QLocale::c().toDouble(QString::fromLatin1(leadingNumber(numberCandidate(text))));
}

} // namespace NumberText
