#pragma once

#include <functional>

// The orderly end of the process. What asks for it from outside is in platform/EndSignals.h.
namespace platform {

// Main thread, once: `willTerminate` runs on the main thread when termination was asked for, exactly once. An exception
// that leaves it goes to the uncaught-exception handler, or to the console when that is what asked for the end; it does
// not keep the process from ending.
void setWillTerminateHandler(std::function<void()> willTerminate);

// Never returns. Runs the handler once, deletes partial downloads, flushes the output and ends the process with status
// 0 without tearing Qt down. From another thread the request goes to the main thread and the caller is parked.
// A request during termination is parked (main thread: ends the process at once).
[[noreturn]] void terminate();

// What terminate() does in the end; a test puts its own in place, which must not return; nullptr brings the real end
// back. Main thread.
using TerminateFunction = void (*)();
void setTerminateFunction(TerminateFunction function);

} // namespace platform
