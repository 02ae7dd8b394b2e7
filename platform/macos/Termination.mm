#include "platform/Termination.h"

#include "platform/UrlSession.h"
#include "platform/base/MainQueue.h"
#include "platform/base/UncaughtException.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <utility>

#import <Foundation/Foundation.h>

namespace platform {
namespace {

void endProcess() {
    UrlSession::removePartialDownloads();
    std::fflush(stdout);
    std::fflush(stderr);
    ::_exit(0);
}

// Main thread only.
struct Termination {
    std::function<void()> willTerminate;
    TerminateFunction end = endProcess;
    bool requested = false;
};

Termination& termination() {
    // Never destroyed: threads that are parked outlive everything.
    static auto* const instance = new Termination;
    return *instance;
}

[[noreturn]] void park() {
    for (;;) {
        ::pause();
    }
}

} // namespace

void setWillTerminateHandler(std::function<void()> willTerminate) {
    termination().willTerminate = std::move(willTerminate);
}

void setTerminateFunction(TerminateFunction function) {
    termination().end = function;
}

// Not the application object's own: the toolkit turns that into the end of its event loop, which returns.
void terminate() {
    if (!MainQueue::isMainThread()) {
        MainQueue::async([] { terminate(); });
        park();
    }
    Termination& own = termination();
    if (!std::exchange(own.requested, true) && own.willTerminate) {
        reportingUncaughtExceptions(own.willTerminate);
    }
    own.end();
    endProcess();
    park();
}

void terminateOnSignals() {
    static NSMutableArray* const sources = [NSMutableArray array];
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_IGN); // the source sees it all the same
        dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(signal),
                                                          0, dispatch_get_main_queue());
        dispatch_source_set_event_handler(source, ^{
          terminate();
        });
        dispatch_resume(source);
        [sources addObject:source];
    }
}

} // namespace platform
