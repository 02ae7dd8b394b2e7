#pragma once

#include <chrono>

namespace platform {

// SIGTERM, SIGINT and SIGHUP become a request to terminate, made on the main thread's loop, also when this process was
// started with them blocked. A second signal, and one that the main thread has not taken within `longestWait`, end the
// process at once as the signal itself would, partial downloads deleted: the main thread may be waiting for a tool, an
// answer or a display. An ignored SIGHUP stays ignored (nohup). Main thread, once, after the application object exists.
void terminateOnSignals(std::chrono::milliseconds longestWait = std::chrono::seconds(5));

} // namespace platform
