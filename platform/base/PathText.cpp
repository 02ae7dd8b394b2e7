#include "platform/base/PathText.h"

#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString withoutTrailingSlashes(QString path) {
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    return path;
}

bool isSpace(QChar unit) {
    return unit == u'\t' || unit.category() == QChar::Separator_Space;
}

bool isSpaceOrLineEnd(QChar unit) {
    const char16_t code = unit.unicode();
    return isSpace(unit) || (code >= 0x0A && code <= 0x0D) || code == 0x85 || code == 0x2028 || code == 0x2029;
}

template <typename Predicate>
QString trimmed(const QString& text, Predicate dropped) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && dropped(text[first])) {
        ++first;
    }
    while (last > first && dropped(text[last - 1])) {
        --last;
    }
    return text.mid(first, last - first);
}

// In place of a byte that is no UTF-8.
constexpr char16_t kForeignByte = 0xDC00;
constexpr int kLongestCharacter = 4;

bool isForeignByte(const QString& path, qsizetype index) {
    const char16_t unit = path.at(index).unicode();
    const bool follows = index > 0 && path.at(index - 1).isHighSurrogate();
    return !follows && unit >= kForeignByte + 0x80 && unit <= kForeignByte + 0xFF;
}

// The length of the character that the bytes begin with; 0 when they begin with none.
qsizetype characterLength(const QByteArray& bytes) {
    for (qsizetype length = 1; length <= std::min<qsizetype>(kLongestCharacter, bytes.size()); ++length) {
        if (QUtf8StringView(bytes.first(length)).isValidUtf8()) {
            return length;
        }
    }
    return 0;
}

} // namespace

namespace PathText {

QString fromKernel(const QByteArray& path) {
    if (QUtf8StringView(path).isValidUtf8()) {
        return QString::fromUtf8(path);
    }
    QString text;
    for (qsizetype index = 0; index < path.size();) {
        const qsizetype length = characterLength(path.sliced(index));
        text += length > 0 ? QString::fromUtf8(path.sliced(index, length))
                           : QString(QChar(kForeignByte + static_cast<unsigned char>(path.at(index))));
        index += std::max<qsizetype>(length, 1);
    }
    return text;
}

QByteArray toKernel(const QString& path) {
    QByteArray bytes;
    qsizetype start = 0;
    for (qsizetype index = 0; index < path.size(); ++index) {
        if (isForeignByte(path, index)) {
            bytes += path.sliced(start, index - start).toUtf8();
            bytes += static_cast<char>(path.at(index).unicode() - kForeignByte);
            start = index + 1;
        }
    }
    return bytes + path.sliced(start).toUtf8();
}

QString pathExtension(const QString& path) {
    const QString component = lastPathComponent(path);
    const qsizetype dot = component.lastIndexOf(u'.');
    return dot <= 0 ? QString() : component.mid(dot + 1);
}

QString lastPathComponent(const QString& path) {
    const QString shortened = withoutTrailingSlashes(path);
    return shortened == u"/"_s ? shortened : shortened.mid(shortened.lastIndexOf(u'/') + 1);
}

QString deletingLastPathComponent(const QString& path) {
    const QString shortened = withoutTrailingSlashes(path);
    const qsizetype slash = shortened.lastIndexOf(u'/');
    return slash == 0 ? u"/"_s : withoutTrailingSlashes(shortened.left(qMax<qsizetype>(slash, 0)));
}

QString percentEscaped(const QString& text) {
    return QString::fromLatin1(QUrl::toPercentEncoding(text, "!$&'()*+,/:;=?@"));
}

QString trimmedOfWhitespace(const QString& text) {
    return trimmed(text, isSpace);
}

QString trimmedOfWhitespaceAndNewlines(const QString& text) {
    return trimmed(text, isSpaceOrLineEnd);
}

} // namespace PathText
