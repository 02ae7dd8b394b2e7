#pragma once

#include <QByteArray>
#include <QString>

// The path of an address in text form, taken apart as RFC 3986, appendix B, says, and the bytes that its escapes
// stand for.
namespace AddressPath {

// Still escaped; without query and fragment. Empty when the address has none.
QString pathOf(const QString& address);

// The path with its escapes undone: what a file system would be asked for.
QByteArray decodedPathOf(const QString& address);

// The last component of the path with its escapes undone; slashes at the end are ignored. May hold a slash, when one
// was escaped. Empty when the path names nothing.
QString lastComponentOf(const QString& address);

} // namespace AddressPath
