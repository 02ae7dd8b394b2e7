#include "platform/EndSignals.h"

#include "platform/Console.h"
#include "platform/Termination.h"
#include "platform/UrlSession.h"
#include "platform/base/MainQueue.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

constexpr std::array kEndSignals{SIGTERM, SIGINT, SIGHUP};

// The writing end of the pipe that carries the signals' numbers to the thread that waits for them.
int signalPipe = -1;

void onSignal(int signal) {
    const int error = errno;
    const auto number = static_cast<unsigned char>(signal);
    // A full pipe already holds requests enough.
    [[maybe_unused]] const ssize_t count = ::write(signalPipe, &number, sizeof number);
    errno = error;
}

// The next signal's number; absent when the time passed. A negative limit waits for ever.
std::optional<int> nextSignal(int reading, int limit) {
    pollfd pipe{reading, POLLIN, 0};
    int ready = -1;
    do {
        ready = ::poll(&pipe, 1, limit);
    } while (ready < 0 && errno == EINTR);
    unsigned char number = 0;
    return ready > 0 && ::read(reading, &number, sizeof number) == sizeof number ? std::optional<int>(number)
                                                                                 : std::nullopt;
}

// As the signal itself would have ended it, so that whoever waits for this process sees why.
[[noreturn]] void endAtOnce(int signal) {
    UrlSession::removePartialDownloads();
    std::signal(signal, SIG_DFL);
    ::kill(::getpid(), signal);
    constexpr int kShellsOffset = 128;
    ::_exit(kShellsOffset + signal); // of a signal that does not end processes
}

void watch(int reading, std::chrono::milliseconds longestWait) {
    std::optional<int> signal;
    while (!signal) {
        signal = nextSignal(reading, -1);
    }
    const auto taken = std::make_shared<std::atomic<bool>>(false);
    MainQueue::async([taken] {
        *taken = true;
        terminate();
    });
    std::optional<int> second = nextSignal(reading, static_cast<int>(longestWait.count()));
    while (!second && *taken) {
        second = nextSignal(reading, -1);
    }
    endAtOnce(second.value_or(*signal));
}

bool isIgnored(int signal) {
    struct sigaction current {};
    return ::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

void takeSignals() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigset_t endSignals;
    sigemptyset(&endSignals);
    for (const int signal : kEndSignals) {
        if (signal != SIGHUP || !isIgnored(signal)) {
            ::sigaction(signal, &action, nullptr);
        }
        sigaddset(&endSignals, signal);
    }
    ::pthread_sigmask(SIG_UNBLOCK, &endSignals, nullptr);
}

} // namespace

void terminateOnSignals(std::chrono::milliseconds longestWait) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0 || ::fcntl(ends[1], F_SETFL, O_NONBLOCK) != 0) {
        return; // the signals then end the process by themselves
    }
    signalPipe = ends[1];
    try {
        std::thread(watch, ends[0], longestWait).detach();
    } catch (const std::system_error&) {
        consoleLog(u"No thread could be started to wait for the end's signals: they end the program at once."_s);
        return;
    }
    takeSignals();
}

} // namespace platform
