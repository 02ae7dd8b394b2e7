#pragma once

#include <QString>

// Qt tells of a broken connection to the display in a message, and then leaves by exit(), past every orderly end.
namespace platform {

// Ends the process in order when the connection is broken; returns otherwise. For each message of Qt; only the main
// thread's count.
void endIfDisplayIsLost(const QString& message);

} // namespace platform
