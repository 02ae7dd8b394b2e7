#include "platform/Console.h"

#include <QByteArray>

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <mutex>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

QByteArray linePrefix() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(now));
    const auto millis = duration_cast<milliseconds>(now - floor<std::chrono::seconds>(now)).count();
    ::tzset(); // the zone may have changed since the last message; localtime_r alone need not notice
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> day{};
    std::strftime(day.data(), day.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::array<char, 96> prefix{};
    std::snprintf(prefix.data(), prefix.size(), "%s.%03d QNInstaller[%d] ", day.data(), static_cast<int>(millis),
                  static_cast<int>(::getpid()));
    return prefix.data();
}

// Writing to a reader that has gone must not end the program. A handler that somebody installed stays.
void outliveReaders() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction current {};
        if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
            std::signal(SIGPIPE, SIG_IGN);
        }
    });
}

// Standard error, whose reader may have stopped reading: a message that cannot be written within a moment is dropped,
// and so are those behind it until there is room again, where their number is told.
class Output {
public:
    void write(const QByteArray& line) {
        const std::lock_guard lock(mutex_);
        if (dropped_ > 0 && writePieces((isCut_ ? "\n" : "") + linePrefix() + QByteArray::number(dropped_) +
                                        " messages were dropped here\n")) {
            dropped_ = 0;
            isCut_ = false;
        }
        if (dropped_ > 0 || !writePieces(line)) {
            ++dropped_;
        }
    }

private:
    static constexpr int kMoment = 200; // milliseconds

    // A pipe that can be written to takes PIPE_BUF bytes at once, so that the writing never waits. Everything shorter
    // goes out in one piece.
    bool writePieces(const QByteArray& bytes) {
        qsizetype done = 0;
        while (done < bytes.size()) {
            pollfd output{STDERR_FILENO, POLLOUT, 0};
            const int ready = ::poll(&output, 1, dropped_ > 0 ? 0 : kMoment);
            if (ready < 0 && errno == EINTR) {
                continue;
            }
            if (ready == 0) {
                isCut_ = isCut_ || done > 0;
                return false;
            }
            const auto size = static_cast<std::size_t>(std::min<qsizetype>(bytes.size() - done, PIPE_BUF));
            const ssize_t count = ::write(STDERR_FILENO, bytes.constData() + done, size);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                return true; // nowhere to report that reporting failed
            }
            done += count;
        }
        return true;
    }

    std::mutex mutex_;
    std::int64_t dropped_ = 0;
    bool isCut_ = false; // a dropped message's beginning has gone out
};

Output& output() {
    static auto* const instance = new Output; // threads write until the process has ended
    return *instance;
}

} // namespace

void consoleLog(const QString& text) {
    outliveReaders();
    output().write(linePrefix() + text.toUtf8() + '\n');
}

} // namespace platform
