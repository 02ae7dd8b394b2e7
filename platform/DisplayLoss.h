#pragma once

class QString;

// The display's connection breaks at log-out, when the server crashes, or when somebody kills the client. Main thread.
namespace platform {

// Qt tells of a broken connection in a message, and then leaves by exit(), past every orderly end. For each message of
// Qt, on any thread: ends the process in order when the connection is broken; returns otherwise.
void endIfDisplayIsLost(const QString& message);

// Whether it has broken: windows must not be touched any more. The process is then on its way to its end.
bool displayIsLost();

} // namespace platform
