#pragma once

// What the user is to see first. Work that nobody waits for lets it go before: on a machine with two cores even another
// thread's work delays it.
namespace platform {

// Main thread, before there is such work. Without this nothing ever waits.
void expectFirstFrame();

// Main thread, when the frame has been handed to the display.
void firstFrameShown();

// Any thread but the main one. Returns once the frame is shown, and after half a second in any case: a window
// may be hidden from the start.
void waitForFirstFrame();

} // namespace platform
