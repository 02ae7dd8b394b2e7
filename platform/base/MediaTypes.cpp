#include "platform/base/MediaTypes.h"

#include <QStringList>

#include <array>

using namespace Qt::StringLiterals;

namespace MediaTypes {

namespace {

struct Row {
    const char* type;
    const char* extensions; // the preferred one first
};

// Where two types share an extension, the one that an extension stands for comes first.
constexpr std::array kRows{
    Row{"application/x-apple-diskimage", "dmg"},
    Row{"text/plain", "txt text"},
    Row{"text/html", "html htm"},
    Row{"application/json", "json"},
    Row{"application/xml", "xml"},
    Row{"text/xml", "xml"},
    Row{"application/zip", "zip"},
    Row{"application/pdf", "pdf"},
    Row{"application/gzip", "gz tgz"},
    Row{"application/x-tar", "tar"},
    Row{"text/css", "css"},
    Row{"text/csv", "csv"},
    Row{"image/png", "png"},
    Row{"image/jpeg", "jpeg jpg jpe"},
    Row{"image/gif", "gif"},
};

QStringList extensionsOf(const QString& mediaType) {
    for (const Row& row : kRows) {
        if (mediaType.compare(QLatin1String(row.type), Qt::CaseInsensitive) == 0) {
            return QString::fromLatin1(row.extensions).split(u' ');
        }
    }
    return {};
}

} // namespace

QString withoutParameters(const QString& contentType) {
    return contentType.section(u';', 0, 0).trimmed();
}

std::optional<QString> preferredExtension(const QString& mediaType) {
    const QStringList extensions = extensionsOf(mediaType);
    return extensions.isEmpty() ? std::nullopt : std::optional(extensions.first());
}

bool carries(const QString& mediaType, const QString& extension) {
    return extensionsOf(mediaType).contains(extension, Qt::CaseInsensitive);
}

QString forExtension(const QString& extension) {
    for (const Row& row : kRows) {
        QString type = QString::fromLatin1(row.type);
        if (carries(type, extension)) {
            return type;
        }
    }
    return u"application/octet-stream"_s;
}

} // namespace MediaTypes
