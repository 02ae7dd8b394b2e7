#include "platform/EndSignals.h"

#include "platform/Termination.h"
#include "platform/UrlSession.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace platform {

namespace {

std::atomic<bool> isTaken = false;

// As the signal itself would have ended it, so that whoever waits for this process sees why.
void endAtOnce(int signal) {
    UrlSession::removePartialDownloads();
    std::signal(signal, SIG_DFL);
    ::kill(::getpid(), signal);
}

// On the queue of the signals.
void take(int signal, std::chrono::milliseconds longestWait, dispatch_queue_t queue) {
    static bool isSecond = false;
    if (isSecond) {
        endAtOnce(signal);
        return;
    }
    isSecond = true;
    dispatch_async(dispatch_get_main_queue(), ^{
      isTaken = true;
      terminate();
    });
    const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(longestWait).count();
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, wait), queue, ^{
      if (!isTaken) {
          endAtOnce(signal);
      }
    });
}

} // namespace

void terminateOnSignals(std::chrono::milliseconds longestWait) {
    static NSMutableArray* const sources = [NSMutableArray array];
    const dispatch_queue_t queue = dispatch_queue_create("end signals", DISPATCH_QUEUE_SERIAL);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction current {};
        if (signal == SIGHUP && ::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
            continue;
        }
        std::signal(signal, SIG_IGN); // the source sees it all the same
        dispatch_source_t source =
            dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<uintptr_t>(signal), 0, queue);
        dispatch_source_set_event_handler(source, ^{
          take(signal, longestWait, queue);
        });
        dispatch_resume(source);
        [sources addObject:source];
    }
}

} // namespace platform
