#pragma once

#include <QString>

#include <optional>

// The few media types whose files have a customary extension (registered with IANA, but for Apple's disk image). Any
// other type has none. Types and extensions are compared without regard to upper and lower case.
namespace MediaTypes {

// "text/html; charset=utf-8" → "text/html".
QString withoutParameters(const QString& contentType);

// "html" for text/html; absent for a type without one, such as application/octet-stream.
std::optional<QString> preferredExtension(const QString& mediaType);

// Whether files of that type customarily carry the extension: htm for text/html too.
bool carries(const QString& mediaType, const QString& extension);

// application/octet-stream when the extension says nothing.
QString forExtension(const QString& extension);

} // namespace MediaTypes
