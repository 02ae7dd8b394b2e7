#include "platform/EndSignals.h"

#include "platform/base/Termination.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace platform {

namespace {

// The writing end of the pipe that carries signals to the main loop.
int signalPipe = -1;

void onSignal(int) {
    const int error = errno;
    const char request = 1;
    // A full pipe already holds requests enough.
    [[maybe_unused]] const ssize_t count = ::write(signalPipe, &request, sizeof request);
    errno = error;
}

void listenOn(int reading) {
    // Owned by the application.
    auto* const notifier = new QSocketNotifier(reading, QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [reading] {
        std::array<char, 64> requests; // NOLINT: filled by read
        if (::read(reading, requests.data(), requests.size()) > 0) {
            terminate();
        }
    });
}

} // namespace

void terminateOnSignals() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals then end the process by themselves
    }
    signalPipe = ends[1];
    listenOn(ends[0]);
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigset_t endSignals;
    sigemptyset(&endSignals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
        sigaddset(&endSignals, signal);
    }
    ::pthread_sigmask(SIG_UNBLOCK, &endSignals, nullptr);
}

} // namespace platform
