#pragma once

#include <sys/types.h>

#include <optional>

// Windows of other processes on X11, by the names of the Extended Window Manager Hints. Each call opens a connection of
// its own. Main thread.
namespace platform {

// The process of the active window. Absent without an X server, a window manager that tells, or an active window.
std::optional<pid_t> processOfActiveWindow();

// Asks the window manager to bring all windows of the process to the front, lowest first, so that they keep their
// order. False when there is none to ask for.
bool activateWindowsOfProcess(pid_t process);

} // namespace platform
