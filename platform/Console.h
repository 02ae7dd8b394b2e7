#pragma once

#include <QString>

namespace platform {

// Writes one message to the system console: on Linux standard error, one write per message, as
// `YYYY-MM-DD HH:MM:SS.mmm QNInstaller[PID] text`; line ends inside the text stay. Any thread; never fails, and never
// waits longer than a moment for somebody to read: what is not taken is dropped, and a later line tells how many were.
void consoleLog(const QString& text);

// Sends Qt's own messages to the console too, each with `Qt: ` before it. Main thread, once.
void captureQtMessages();

// Between these two, around the making of the application object, captured messages are kept: when Qt then finds that
// it cannot show windows at all, which it would end by aborting or by waiting for ever, the process ends with status 1
// and one line. Main thread, once each.
void awaitWindowSystem();
void windowSystemIsReady();

} // namespace platform
