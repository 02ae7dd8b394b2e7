#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

#include <optional>

// Reading of a table of localized texts ("key" = "value"; with C comments), in UTF-8 or UTF-16, or as a property list.
// Format: "String Resources" of Apple's Resource Programming Guide.
namespace StringsTable {

using Table = QMap<QString, QString>;

// Absent when the bytes are no such table. Never throws.
std::optional<Table> parse(const QByteArray& bytes);

// The table of the one language chosen among `available` for `preferred`: that of the first preferred language that has
// one (what serves which language: LanguageMatch.h); else `developmentRegion`.
QString chooseLocalization(const QStringList& preferred, const QStringList& available,
                           const QString& developmentRegion);

} // namespace StringsTable
