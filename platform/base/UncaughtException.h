#pragma once

#include "platform/base/PlatformException.h"

#include <functional>

// Where an exception goes that no code caught. One that is not a PlatformException arrives as one: with the name
// "std::exception" and what it says, or "unknown exception".
namespace platform {

using UncaughtExceptionHandler = void (*)(const PlatformException&);

// Any thread. The handler runs on the thread that raised; nullptr removes it.
void setUncaughtExceptionHandler(UncaughtExceptionHandler handler);
UncaughtExceptionHandler uncaughtExceptionHandler();

// Runs a body; an exception of the system's own kind that leaves it goes on as a PlatformException.
using ExceptionTranslation = void (*)(const std::function<void()>& body);

// Any thread. From now on such exceptions, too, arrive with their own name and reason.
void setExceptionTranslation(ExceptionTranslation translation);

// Runs `body`; an exception that leaves it goes to the installed handler. Every thread body and every callback
// that a foreign loop would otherwise swallow goes through here. Without a handler the exception goes on to the caller.
void reportingUncaughtExceptions(const std::function<void()>& body);

// Makes std::terminate the last net: an exception in flight still reaches the handler, then the process aborts.
void installTerminateNet();

} // namespace platform
