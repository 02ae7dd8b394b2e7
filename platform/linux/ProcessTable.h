#pragma once

#include <QByteArray>
#include <QString>

#include <sys/types.h>

#include <optional>
#include <vector>

// Looking through /proc (proc(5)). Any thread.
namespace platform {

// The processes of this user whose program lies in Contents/MacOS of a bundle with that identifier, newest first. Not
// those whose parent is one of them: a script's child looks like the script until it runs its own program. Takes up to
// a tenth of a second more while one of the user's processes has no command line.
std::vector<pid_t> processesWithBundleIdentifier(const QString& identifier);

// Pure parts of it.

// What an interpreter runs: the first argument that is no option. Empty when there is none.
QByteArray firstArgumentOf(const QByteArray& commandLine);

// "/a/B.app" for "/a/B.app/Contents/MacOS/c"; absent for any other path.
std::optional<QString> bundleHolding(const QString& executable);

} // namespace platform
