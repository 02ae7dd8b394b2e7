#pragma once

#include <QByteArray>
#include <QStringList>

// Reading of /proc/self/mountinfo (proc(5)). Pure.
namespace platform {

// The mount points in the order of the table, with the octal escapes undone. A line that is none is left out.
QStringList mountPointsOf(const QByteArray& mountInfo);

// "\040" becomes a blank. A backslash without three octal digits behind it stays.
QByteArray withoutOctalEscapes(const QByteArray& text);

} // namespace platform
