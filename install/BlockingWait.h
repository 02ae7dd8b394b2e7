#pragma once

#include <chrono>

// The pause after an address was opened: the other program gets time to come up before this one ends. It blocks the
// calling thread on purpose.
void blockingWait(std::chrono::milliseconds duration);

// A test puts its own in place. Main thread.
using BlockingWaitFunction = void (*)(std::chrono::milliseconds);
void setBlockingWait(BlockingWaitFunction function);

inline constexpr std::chrono::seconds kWaitAfterOpening{2};
