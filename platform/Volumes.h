#pragma once

#include <QStringList>

namespace platform {

// Paths of the mounted volumes in the order of the system's table. Any thread.
//
// Linux: /proc/self/mountinfo (proc(5)), escapes undone, then extracted volumes in the order of attaching; below the
// volumes folder a path is reported as /Volumes/NAME.
QStringList mountedVolumes();

} // namespace platform
