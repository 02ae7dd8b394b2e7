#pragma once

class PlatformException;

// What becomes of an exception that nobody caught: it is written to the console and to the event log, then the
// application terminates as it always does, the analytics included. Does not return. Any thread.
void exceptionHandler(const PlatformException& exception);
