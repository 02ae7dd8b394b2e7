#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What the disk-image tool's table, and the mounted volume, say. Pure functions.
namespace MountOutput {

// Everything behind the first "/Volumes/", without blanks and tabs at both ends; line ends stay. Throws
// PlatformException (NSRangeException) when the output has no "/Volumes/".
QString textBehindVolumes(const QString& output);

// Its first line: the volume's name, blanks inside included. Empty when the text begins with a line end.
QString volumeName(const QString& textBehindVolumes);

// The one entry whose name ends with ".app", in just this case. Absent when there is none, or more than one.
std::optional<QString> onlyApplication(const QStringList& entries);

} // namespace MountOutput
