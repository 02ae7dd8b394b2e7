#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The header that names a downloaded file (RFC 6266, with the encoding of RFC 8187).
namespace ContentDisposition {

// The file name as the server wrote it, not cleaned: never use it as a path. `filename*` wins over `filename` when it
// can be decoded; of two alike the first counts. Bytes outside ASCII are UTF-8, or ISO 8859-1 where they are no valid
// UTF-8. Absent when the header names no file, or names it by nothing.
std::optional<QString> filename(const QByteArray& value);

} // namespace ContentDisposition
