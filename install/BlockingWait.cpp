#include "install/BlockingWait.h"

#include <thread>

namespace {

void sleepFor(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

BlockingWaitFunction waitFunction = sleepFor;

} // namespace

void blockingWait(std::chrono::milliseconds duration) {
    waitFunction(duration);
}

void setBlockingWait(BlockingWaitFunction function) {
    waitFunction = function;
}
