#pragma once

#include <QString>

namespace platform {

// Writes one message to the system console: on Linux standard error, one write per message, as
// `YYYY-MM-DD HH:MM:SS.mmm QNInstaller[PID] text`; line ends inside the text stay. Any thread; never fails, and never
// waits longer than a moment for somebody to read: what is not taken is dropped, and a later line tells how many were.
void consoleLog(const QString& text);

} // namespace platform
