#include "platform/base/PathText.h"

#include <QUrl>

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

} // namespace

namespace PathText {

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
