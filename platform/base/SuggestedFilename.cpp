#include "platform/base/SuggestedFilename.h"

#include "platform/base/AddressPath.h"
#include "platform/base/ContentDisposition.h"
#include "platform/base/MediaTypes.h"

using namespace Qt::StringLiterals;

namespace SuggestedFilename {

namespace {

// An extension longer than this is no extension but the tail of a long name with a dot in it.
constexpr qsizetype kLongestExtension = 32;

// With its dot; empty when there is none.
QString extensionOf(const QString& name) {
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 && name.toUtf8().size() - name.left(dot).toUtf8().size() <= kLongestExtension ? name.mid(dot)
                                                                                                 : QString();
}

// The longest beginning that fits, never half a character.
QString cutToBytes(const QString& text, qsizetype bytes) {
    QByteArray encoded = text.toUtf8();
    if (encoded.size() <= bytes) {
        return text;
    }
    while (bytes > 0 && (static_cast<unsigned char>(encoded[bytes]) & 0xc0U) == 0x80U) {
        --bytes;
    }
    return QString::fromUtf8(encoded.left(bytes));
}

QString cutKeepingExtension(const QString& name) {
    if (name.toUtf8().size() <= kLongestName) {
        return name;
    }
    const QString extension = extensionOf(name);
    return cutToBytes(name.chopped(extension.size()), kLongestName - extension.toUtf8().size()) + extension;
}

QString withoutDangerousCharacters(const QString& name) {
    QString result;
    for (const QChar unit : name) {
        if (unit == u'/') {
            result += u'_';
        } else if (unit.category() != QChar::Other_Control) {
            result += unit;
        }
    }
    return result;
}

} // namespace

QString cleaned(const QString& name) {
    const QString result = withoutDangerousCharacters(name);
    if (result.isEmpty() || result == u'.' || result == u".."_s) {
        return u"Unknown"_s;
    }
    return cutKeepingExtension(result);
}

QString of(const std::optional<QByteArray>& contentDisposition, const QString& finalAddress,
           const QString& contentType) {
    std::optional<QString> named;
    if (contentDisposition) {
        named = ContentDisposition::filename(*contentDisposition);
    }
    QString name = cleaned(named ? *named : AddressPath::lastComponentOf(finalAddress));
    const QString type = MediaTypes::withoutParameters(contentType);
    const std::optional<QString> extension = MediaTypes::preferredExtension(type);
    if (!extension || MediaTypes::carries(type, extensionOf(name).mid(1))) {
        return name;
    }
    return cutKeepingExtension(name + u'.' + *extension);
}

} // namespace SuggestedFilename
