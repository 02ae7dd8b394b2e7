#pragma once

#include <QString>

#include <optional>
#include <utility>

// The installer's progress line: "PROGRESS: ", the part done, "/", the whole.
namespace InstallerOutput {

// The two numbers of the first progress line in a chunk; absent when the chunk has none. The first "/" of the whole
// chunk is taken, and the second number runs to the chunk's end. Throws PlatformException (NSRangeException) when there
// is no "/", or it stands before the prefix.
std::optional<std::pair<double, double>> progressOf(const QString& chunk);

} // namespace InstallerOutput
