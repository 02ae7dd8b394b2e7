#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

// Absent when the bytes are not valid UTF-8; empty for no bytes.
std::optional<QString> decodeUtf8(const QByteArray& bytes);

// Text that a program printed: up to the first zero byte, as UTF-8, or as ISO 8859-1 where it is no valid UTF-8.
QString decodeSystemText(const QByteArray& bytes);

} // namespace platform
