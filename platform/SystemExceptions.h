#pragma once

#include <functional>

// Exceptions of the system's own kind, which its libraries raise and no handler for C++'s catches. On Linux there are
// none. Any thread.
namespace platform {

// Runs `body`; such an exception that leaves it goes on as a PlatformException with its name, reason and user info.
// Others pass unchanged. Every guard that catches a PlatformException has its work done in here.
void translatingSystemExceptions(const std::function<void()>& body);

// From now on, such an exception that nobody catches goes to the uncaught-exception handler as what it is.
void reportUncaughtSystemExceptions();

} // namespace platform
