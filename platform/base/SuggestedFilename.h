#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The name under which an answer should be saved. It comes from a server, so it is made harmless here: the result is
// one component, never empty, "." or "..", without control characters, and at most 255 bytes of UTF-8.
namespace SuggestedFilename {

constexpr qsizetype kLongestName = 255;

// The file name of the Content-Disposition header, else the last component of the final address; then cleaned; then the
// media type's extension is appended, unless the name carries one of that type.
QString of(const std::optional<QByteArray>& contentDisposition, const QString& finalAddress,
           const QString& contentType);

// The cleaning alone: each slash becomes "_", control characters are dropped, "Unknown" stands for a name that names
// nothing, and a long one is cut, its extension kept.
QString cleaned(const QString& name);

} // namespace SuggestedFilename
