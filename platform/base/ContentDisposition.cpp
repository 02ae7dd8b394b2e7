#include "platform/base/ContentDisposition.h"

#include "platform/base/TextDecoding.h"

#include <QList>

#include <utility>

namespace ContentDisposition {

namespace {

using Parameter = std::pair<QByteArray, QByteArray>; // name in lower case, value without its quotes

// Reads up to the next semicolon outside quotes. A backslash in quotes stands for the character behind it.
QByteArray takeItem(const QByteArray& text, qsizetype& at) {
    QByteArray item;
    bool quoted = false;
    for (; at < text.size() && (quoted || text[at] != ';'); ++at) {
        if (text[at] == '"') {
            quoted = !quoted;
        } else if (quoted && text[at] == '\\' && at + 1 < text.size()) {
            item += text[++at];
        } else {
            item += text[at];
        }
    }
    ++at;
    return item;
}

QList<Parameter> parametersOf(const QByteArray& value) {
    QList<Parameter> parameters;
    for (qsizetype at = 0; at < value.size();) {
        const QByteArray item = takeItem(value, at);
        const qsizetype equals = item.indexOf('=');
        if (equals > 0) {
            parameters.append({item.left(equals).trimmed().toLower(), item.mid(equals + 1).trimmed()});
        }
    }
    return parameters;
}

// charset'language'percent-encoded; absent when it is anything else.
std::optional<QString> decodeExtended(const QByteArray& value) {
    const qsizetype first = value.indexOf('\'');
    const qsizetype second = value.indexOf('\'', first + 1);
    if (first < 0 || second < 0) {
        return std::nullopt;
    }
    const QByteArray charset = value.left(first).toLower();
    const QByteArray bytes = QByteArray::fromPercentEncoding(value.mid(second + 1));
    if (charset == "utf-8") {
        return platform::decodeUtf8(bytes);
    }
    if (charset == "iso-8859-1") {
        return QString::fromLatin1(bytes);
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> filename(const QByteArray& value) {
    std::optional<QString> plain;
    std::optional<QString> extended;
    for (const auto& [name, text] : parametersOf(value)) {
        if (name == "filename" && !plain) {
            plain = platform::decodeSystemText(text);
        } else if (name == "filename*" && !extended) {
            extended = decodeExtended(text);
        }
    }
    if (extended && !extended->isEmpty()) {
        return extended;
    }
    return plain && !plain->isEmpty() ? plain : std::nullopt;
}

} // namespace ContentDisposition
