#pragma once

#include <functional>

// Runs a probe and keeps what it raises from the caller: the failure goes to the console and, with the same text, into
// the event log. `failureText` has one placeholder, for the exception; `function` is the published name of the probe.
// Lets everything but a PlatformException through. Any thread.
void guardingProbe(const char* failureText, const char* function, const std::function<void()>& probe,
                   const char* file = __builtin_FILE(), int line = __builtin_LINE());
