#pragma once

#include <QByteArray>
#include <QString>

// Path operations on plain text, without a look at the file system. Given the text of an address they know nothing of
// queries: the extension of "https://h/a.dmg?x=1" is "dmg?x=1".
namespace PathText {

// What follows the last dot of the last component; empty when the component begins with its only dot or ends with one.
// Slashes at the end are ignored.
QString pathExtension(const QString& path);
QString lastPathComponent(const QString& path);
QString deletingLastPathComponent(const QString& path);

// A path as the kernel has it, and back. Names are bytes there; one that is no UTF-8 stands as a low surrogate of its
// own, which no text holds, so that the way back leads to the same file.
QString fromKernel(const QByteArray& path);
QByteArray toKernel(const QString& path);

// Escapes everything outside letters, digits and -._~!$&'()*+,/:;=?@ as %XX of its UTF-8 bytes; % becomes %25 always.
QString percentEscaped(const QString& text);

// White space of macOS: blank, tab and the Unicode space separators, no line ends.
QString trimmedOfWhitespace(const QString& text);
// The same plus LF, VT, FF, CR, U+0085, U+2028 and U+2029.
QString trimmedOfWhitespaceAndNewlines(const QString& text);

} // namespace PathText
