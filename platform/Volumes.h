#pragma once

#include <QStringList>

namespace platform {

// Paths of the mounted volumes in the order of the system's table. Any thread.
//
// Linux: /proc/self/mountinfo (proc(5)), escapes undone, then extracted volumes in the order of attaching; below the
// volumes folder a path is reported as /Volumes/NAME.
QStringList mountedVolumes();

// Has the disk-image tool let go of what earlier runs attached and, because they were killed, never took back. Returns
// at once; the work waits for the first frame. Main thread.
//
// Linux: any call of the tool does it, so one is made where something is attached. macOS: nothing; its tool does not
// know for whom it attaches.
void letGoOfAbandonedVolumes();

} // namespace platform
