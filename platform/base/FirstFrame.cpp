#include "platform/base/FirstFrame.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace platform {
namespace {

constexpr std::chrono::milliseconds kLongestWait(500);

struct FirstFrame {
    std::mutex mutex;
    std::condition_variable shown;
    bool isExpected = false;
};

FirstFrame& firstFrame() {
    static auto* const frame = new FirstFrame; // never destroyed: a thread may wait while the process ends
    return *frame;
}

} // namespace

void expectFirstFrame() {
    const std::lock_guard lock(firstFrame().mutex);
    firstFrame().isExpected = true;
}

void firstFrameShown() {
    const std::lock_guard lock(firstFrame().mutex);
    firstFrame().isExpected = false;
    firstFrame().shown.notify_all();
}

bool waitForFirstFrame() {
    std::unique_lock lock(firstFrame().mutex);
    return firstFrame().shown.wait_for(lock, kLongestWait, [] { return !firstFrame().isExpected; });
}

} // namespace platform
