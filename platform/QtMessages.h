#pragma once

// What Qt has to say, on the console. Main thread, once each.
namespace platform {

// Sends Qt's own messages to the console, each with `Qt: ` before it.
void captureQtMessages();

// Between these two, around the making of the application object, captured messages are kept: when Qt then finds that
// it cannot show windows at all, which it would end by aborting or by waiting for ever, the process ends with status 1
// and one line.
void awaitWindowSystem();
void windowSystemIsReady();

} // namespace platform
