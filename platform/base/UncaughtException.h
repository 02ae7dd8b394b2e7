#pragma once

#include "platform/base/PlatformException.h"

#include <functional>

// Where an exception goes that no code caught.
namespace platform {

using UncaughtExceptionHandler = void (*)(const PlatformException&);

// Any thread. The handler runs on the thread that raised; nullptr removes it.
void setUncaughtExceptionHandler(UncaughtExceptionHandler handler);
UncaughtExceptionHandler uncaughtExceptionHandler();

// Runs `body`; a PlatformException that leaves it goes to the installed handler. Every thread body and every callback
// that a foreign loop would otherwise swallow goes through here. Without a handler the exception goes on to the caller.
void reportingUncaughtExceptions(const std::function<void()>& body);

// Makes std::terminate the last net: a PlatformException in flight still reaches the handler, then the process aborts.
void installTerminateNet();

} // namespace platform
