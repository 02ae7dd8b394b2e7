#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <optional>

// Starting of programs. No shell is involved and arguments are passed verbatim. In the child only descriptors 0 to 2
// are open, no signal is blocked, and every signal that this program catches or ignores has its default effect again.
// It inherits the environment, but for what only Qt is to see.
namespace platform {

struct SpawnRequest {
    QString program;            // a path that the kernel understands, or a name when PATH is searched
    QStringList arguments = {}; // without the program
    std::optional<int> standardOutput = std::nullopt;
    QByteArray variable = {}; // "NAME=value", for this child alone; empty for none
    bool searchPath = false;
    bool ownSession = false; // survives the end of this program's terminal; otherwise a process group of its own
};

// The child, which the caller must collect, or absent with errno set: the program cannot be run.
std::optional<pid_t> spawn(const SpawnRequest& request);

// Collects a child that nobody waits for, on a thread of its own, when it ends. Never fails.
void collectInBackground(pid_t child);

} // namespace platform
