#include "platform/Termination.h"

#include "platform/Console.h"
#include "platform/UrlSession.h"
#include "platform/base/FirstFrame.h"
#include "platform/base/Format.h"
#include "platform/base/MainQueue.h"
#include "platform/base/UncaughtException.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

namespace platform {

namespace {

void endProcess() {
    UrlSession::removePartialDownloads();
    // Not all streams: one that another thread blocks on would hold the end up.
    std::fflush(stdout);
    std::fflush(stderr);
    ::_exit(0);
}

// Main thread only.
struct Ending {
    std::function<void()> willTerminate;
    TerminateFunction end = endProcess;
    bool requested = false;
};

Ending& ending() {
    // Never destroyed: threads that are parked outlive everything.
    static auto* const instance = new Ending;
    return *instance;
}

[[noreturn]] void park() {
    for (;;) {
        ::pause();
    }
}

// An exception on the way out goes to the crash handler once; inside a crash it has nowhere else to go.
void runHandler(const std::function<void()>& willTerminate) {
    try {
        reportingUncaughtExceptions(willTerminate);
    } catch (const PlatformException& exception) {
        consoleLog(formatText("Exception while ending: %@", exception));
    }
}

} // namespace

void setWillTerminateHandler(std::function<void()> willTerminate) {
    ending().willTerminate = std::move(willTerminate);
}

void setTerminateFunction(TerminateFunction function) {
    ending().end = function ? function : endProcess;
}

void terminate() {
    if (!MainQueue::isMainThread()) {
        MainQueue::async([] { terminate(); });
        park();
    }
    firstFrameShown(); // there will be none, and what is sent at the end must not wait for it
    Ending& own = ending();
    if (!std::exchange(own.requested, true) && own.willTerminate) {
        runHandler(own.willTerminate);
    }
    own.end();
    endProcess();
    park(); // endProcess() does not return; the compiler cannot know
}

} // namespace platform
