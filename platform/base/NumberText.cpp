#include "platform/base/NumberText.h"

#include <QByteArray>

#include <locale.h> // newlocale, strtod_l
#include <stdlib.h>

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
    // Only the units of a decimal number get this far, so that no words or hexadecimal digits are taken; the plain
    // locale keeps the point a point. A value too large comes out infinite, one too small as zero.
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtod_l(numberCandidate(text).constData(), nullptr, plain);
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
