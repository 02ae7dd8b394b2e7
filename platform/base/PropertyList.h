#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

// Reading of property lists, XML and binary (format: the manual page plist(5) of macOS and its DTD; read by libplist).
//
// The one door to the library: input above 16 MiB or nested deeper than 128 levels is refused before the library sees
// it, since freeing a deep tree recurses. Values come out as QVariantMap, QVariantList, QString, bool, qint64, double,
// QByteArray and QDateTime.
namespace PropertyList {

constexpr qsizetype kLargestInput = 16 * 1024 * 1024;
constexpr int kDeepestNesting = 128;

// Absent for anything that is no property list. Never throws.
std::optional<QVariant> parse(const QByteArray& bytes);

// Absent also when the file cannot be read. The path is plain; it is mapped here.
std::optional<QVariant> readFile(const QString& path);

} // namespace PropertyList
