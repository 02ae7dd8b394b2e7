#include "platform/Console.h"

#include <QByteArray>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
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

void writeAll(const QByteArray& bytes) {
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::write(STDERR_FILENO, bytes.constData() + done, static_cast<std::size_t>(bytes.size() - done));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return; // nowhere to report that reporting failed
        }
        done += count;
    }
}

void logMessageOfQt(QtMsgType, const QMessageLogContext&, const QString& message) {
    consoleLog(u"Qt: "_s + message);
}

} // namespace

void consoleLog(const QString& text) {
    outliveReaders();
    writeAll(linePrefix() + text.toUtf8() + '\n');
}

void captureQtMessages() {
    qInstallMessageHandler(logMessageOfQt);
}

} // namespace platform
