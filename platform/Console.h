#pragma once

#include <QString>

namespace platform {

// Writes one message to the system console: on Linux standard error, one write per message, as
// `YYYY-MM-DD HH:MM:SS.mmm QNInstaller[PID] text`; line ends inside the text stay. Any thread; never fails.
void consoleLog(const QString& text);

// Sends Qt's own messages to the console too, each with `Qt: ` before it. Main thread, once.
void captureQtMessages();

} // namespace platform
