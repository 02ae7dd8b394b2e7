#include "platform/Termination.h"

#include "platform/UrlSession.h"
#include "platform/base/MainQueue.h"
#include "platform/base/UncaughtException.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
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

// The writing end of the pipe that carries signals to the main loop.
int signalPipe = -1;

void onSignal(int) {
    const int error = errno;
    const char request = 1;
    // A full pipe already holds requests enough.
    [[maybe_unused]] const ssize_t count = ::write(signalPipe, &request, sizeof request);
    errno = error;
}

} // namespace

void setWillTerminateHandler(std::function<void()> willTerminate) {
    termination().willTerminate = std::move(willTerminate);
}

void setTerminateFunction(TerminateFunction function) {
    termination().end = function ? function : endProcess;
}

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
    park(); // endProcess() does not return; the compiler cannot know
}

void terminateOnSignals() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals then end the process by themselves
    }
    signalPipe = ends[1];
    auto* const notifier =
        new QSocketNotifier(ends[0], QSocketNotifier::Read, QCoreApplication::instance()); // owned by the application
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [reading = ends[0]] {
        std::array<char, 64> requests; // NOLINT: filled by read
        if (::read(reading, requests.data(), requests.size()) > 0) {
            terminate();
        }
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace platform
