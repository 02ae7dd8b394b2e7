#include "platform/QtMessages.h"

#include "platform/Console.h"
#include "platform/DisplayLoss.h"

#include <QStringList>

#include <unistd.h>

#include <mutex>
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

// Qt aborts when it has no window system, and waits for ever for a thread that it could not start.
bool endsTheStart(QtMsgType type, const QString& message) {
    return type == QtFatalMsg || message.startsWith(u"QThread::start"_s);
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
    if (!hold(type, message)) {
        consoleLog(u"Qt: "_s + message);
        endIfDisplayIsLost(message);
    }
}

} // namespace

void captureQtMessages() {
    qInstallMessageHandler(logMessageOfQt);
}

void awaitWindowSystem() {
    const std::lock_guard lock(startMessages().mutex);
    startMessages().held = true;
}

void windowSystemIsReady() {
    const std::lock_guard lock(startMessages().mutex);
    startMessages().held = false;
    for (const QString& message : std::exchange(startMessages().messages, {})) {
        consoleLog(u"Qt: "_s + message);
    }
}

} // namespace platform
