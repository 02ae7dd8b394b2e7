#pragma once

// What the user is to see first. Work that can be done a moment later lets it go before: on a machine with two cores
// even another thread's work delays it.
namespace platform {

// Main thread, before there is such work. Without this nothing ever waits.
void expectFirstFrame();

// Main thread, when the frame has been handed to the display, or will never come.
void firstFrameShown();

// Any thread but the main one. Returns once the frame is shown, or after half a second without it, when the answer is
// false: a window may be hidden from the start.
bool waitForFirstFrame();

} // namespace platform
