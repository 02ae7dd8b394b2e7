#pragma once

#include <functional>

// The queue of the main thread: work that any thread hands to it runs there, one after the other, in the order in which
// it was handed over, when the event loop turns. Never re-entered: work that is queued by running work, also while that
// waits, comes after it.
namespace MainQueue {

// Main thread, once, after the application object exists. Work queued earlier runs when the loop first turns.
void attachToMainThread();

// Any thread. An exception that leaves `work` goes to the uncaught-exception handler.
void async(std::function<void()> work);

bool isMainThread();

} // namespace MainQueue
