#pragma once

namespace platform {

// SIGTERM, SIGINT and SIGHUP become a request to terminate, made on the main thread's loop, also when this process was
// started with them blocked. Main thread, once, after the application object exists.
void terminateOnSignals();

} // namespace platform
