#pragma once

#include <functional>

// The orderly end of the process.
namespace platform {

// Main thread, once: `willTerminate` runs on the main thread when termination was asked for, exactly once.
void setWillTerminateHandler(std::function<void()> willTerminate);

// Never returns. Runs the handler once, deletes partial downloads, flushes the output and ends the process with status
// 0 without tearing the toolkit down. From another thread the request goes to the main thread and the caller is parked.
// A request during termination is parked (main thread: ends the process at once).
[[noreturn]] void terminate();

// What terminate() does in the end; a test puts its own in place, which must not return; nullptr brings the real end back.
// Main thread.
using TerminateFunction = void (*)();
void setTerminateFunction(TerminateFunction function);

// SIGTERM, SIGINT and SIGHUP become the same request, made on the main thread's loop. Main thread, once.
void terminateOnSignals();

} // namespace platform
