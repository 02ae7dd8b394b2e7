#include "platform/base/TextDecoding.h"

#include <QStringConverter>

#include <algorithm>

namespace platform {

std::optional<QString> decodeUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(text);
}

QString decodeSystemText(const QByteArray& bytes) {
    const QByteArray text(bytes.constData(), std::find(bytes.cbegin(), bytes.cend(), '\0') - bytes.cbegin());
    return platform::decodeUtf8(text).value_or(QString::fromLatin1(text));
}

} // namespace platform
