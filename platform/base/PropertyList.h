#pragma once

#include <QByteArray>
#include <QVariant>

#include <optional>

// Reading of property lists, XML and binary (format: the manual page plist(5) of macOS and its DTD; read by libplist,
// behind the door of base/PropertyListParser.h).
//
// Values come out as QVariantMap, QVariantList, QString, bool, qint64, double, QByteArray and QDateTime.
namespace PropertyList {

// Absent for anything that is no property list. Never throws.
std::optional<QVariant> parse(const QByteArray& bytes);

} // namespace PropertyList
