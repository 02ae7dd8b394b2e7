#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>

// What can be read out of the system's own descriptions of the machine. Pure functions.
namespace platform {

// "12" is {12, 0, 0}, "6.1.0-13-amd64" is {6, 1, 0}: up to three leading numbers separated by dots. Absent when the
// text begins with no number.
std::optional<std::array<int, 3>> versionNumbers(const QString& text);

// The value of VERSION_ID, without quotes and escapes (os-release(5)); the last one counts. Absent when missing or
// empty.
std::optional<QString> versionIdOf(const QByteArray& osRelease);

// macOS's text for `machine` of uname(2).
std::optional<QString> architectureDescription(const QString& machine);

} // namespace platform
