#include "config/QNConfigProvider.h"
#include "install/InstallerOutput.h"
#include "install/QNMainController.h"
#include "install/QNUnmount.h"
#include "logging/LogContext.h"
#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/Task.h"
#include "platform/base/Format.h"
#include "platform/base/NotificationCenter.h"
#include "platform/base/NotificationNames.h"
#include "platform/base/TextDecoding.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double kWhole = 100.0;

QByteArray dataItemOf(const Notification& notification) {
    return notification.userInfo.value(kFileHandleNotificationDataItem).toByteArray();
}

} // namespace

void QNMainController::readOutputOf(const std::shared_ptr<Task>& task,
                                    const std::shared_ptr<ReadingFileHandle>& output) {
    NotificationCenter& center = NotificationCenter::defaultCenter();
    // Observers are never removed, so what they hold stays: macOS keeps both alive in the same way.
    center.addObserver(
        kFileHandleReadCompletion, [this, output](const Notification& notification) { receivedData(notification); },
        output.get());
    center.addObserver(
        kTaskDidTerminate, [this, task](const Notification& notification) { taskCompletion(notification); },
        task.get());
    task->notifyOnTermination();
    output->readInBackgroundAndNotify();
}

void QNMainController::receivedData(const Notification& notification) {
    const std::optional<QString> text = platform::decodeUtf8(dataItemOf(notification));
    platform::consoleLog(formatText("stringOutput: %@", text));
    // The numbers are checked by being read; nothing shows them.
    if (text) {
        (void)InstallerOutput::progressOf(*text);
    }
    if (const auto* const sender = std::get_if<const void*>(&notification.object)) {
        static_cast<ReadingFileHandle*>(const_cast<void*>(*sender))->readInBackgroundAndNotify();
    }
}

void QNMainController::taskCompletion(const Notification& notification) {
    constexpr auto kFunction = "-[QNMainController taskCompletion:]";
    platform::consoleLog(formatText("aNotification: %@", describe(notification)));
    platform::consoleLog(formatText("completeOutput: %@", platform::decodeUtf8(dataItemOf(notification))));
    const std::optional<QString> name = QNConfigProvider::getStringFromPlist(u"kAPP_NAME"_s);
    // Compared as a whole number: 100.9 is 100.
    if (progressPercents_ >= kWhole && progressPercents_ < kWhole + 1.0) {
        QNUnmount::unmountDMG();
        QNLogger::debug(formatText("Install %@ completed", name), logContext(kFunction));
    } else {
        QNLogger::debug(formatText("Install %@ failed", name), logContext(kFunction));
    }
}
