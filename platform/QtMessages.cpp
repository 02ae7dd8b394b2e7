#include "platform/QtMessages.h"

#include "platform/Console.h"
#include "platform/DisplayLoss.h"
#include "platform/UrlSession.h"

#include <QStringList>

#include <unistd.h>

#include <csignal>
#include <mutex>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

// Qt's messages while the window system's plugin is loaded, which are told in one line when that fails.
struct StartMessages {
    std::mutex mutex;
    bool held = false;
    QStringList messages;
};

StartMessages& startMessages() {
    static auto* const instance = new StartMessages; // Qt's threads have messages until the process has ended
    return *instance;
}

// Qt waits for ever for a thread that it could not start, wherever it wanted one, and no signal reaches it there.
bool neverReturns(const QString& message) {
    return message.startsWith(u"QThread::start"_s);
}

// Qt aborts when it has no window system.
bool endsTheStart(QtMsgType type, const QString& message) {
    return type == QtFatalMsg || neverReturns(message);
}

// Qt's plugin for X follows null pointers where the display's connection breaks while it starts.
extern "C" void endBrokenStart(int) {
    constexpr std::string_view kLine = "QNInstaller: No window can be shown: the connection to the display broke\n";
    [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, kLine.data(), kLine.size());
    ::_exit(1);
}

// False when the start is over.
bool hold(QtMsgType type, const QString& message) {
    StartMessages& start = startMessages();
    const std::lock_guard lock(start.mutex);
    if (!start.held) {
        return false;
    }
    start.messages += message;
    if (endsTheStart(type, message)) {
        consoleLog(u"No window can be shown: "_s + start.messages.first().section(u'\n', 0, 0).trimmed());
        ::_exit(1);
    }
    return true;
}

void logMessageOfQt(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (hold(type, message)) {
        return;
    }
    consoleLog(u"Qt: "_s + message);
    if (neverReturns(message)) {
        UrlSession::removePartialDownloads();
        ::_exit(1);
    }
    endIfDisplayIsLost(message);
}

} // namespace

void captureQtMessages() {
    qInstallMessageHandler(logMessageOfQt);
}

void awaitWindowSystem() {
    const std::lock_guard lock(startMessages().mutex);
    startMessages().held = true;
    std::signal(SIGSEGV, endBrokenStart);
}

void windowSystemIsReady() {
    const std::lock_guard lock(startMessages().mutex);
    startMessages().held = false;
    std::signal(SIGSEGV, SIG_DFL);
    for (const QString& message : std::exchange(startMessages().messages, {})) {
        consoleLog(u"Qt: "_s + message);
    }
}

} // namespace platform
