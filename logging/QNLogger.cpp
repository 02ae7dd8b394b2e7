#include "logging/QNLogger.h"

#include "config/QNConfigProvider.h"
#include "logging/LogLine.h"
#include "logging/Timestamp.h"
#include "platform/Console.h"
#include "platform/FileManager.h"
#include "platform/Folders.h"
#include "platform/SystemExceptions.h"
#include "platform/base/Format.h"
#include "sysinfo/QNPortalProvider.h"

#include <mutex>

using namespace Qt::StringLiterals;

namespace {

// The existence test keeps its own handle: an entry opens the file twice, and a file that cannot be made swallows the
// entry without a word.
void appendThroughTwoHandles(const QString& path, const QByteArray& line) {
    const WritingFileHandle existing(path);
    std::optional<WritingFileHandle> created;
    if (!existing.isPresent()) {
        FileManager::createFile(path);
        created.emplace(path);
    }
    WritingFileHandle handle(path);
    handle.seekToEndOfFile();
    handle.writeData(line);
    handle.closeFile();
}

void append(const QString& line) {
    // One writer at a time: what lies between finding the end and writing there must not be another thread's entry.
    static std::mutex oneWriter;

    const QString masked = QNLogger::maskPIIDataInMessage(line);
    const QString directory =
        formatText("%@%@/Logs", platform::homeDirectory(), QNConfigProvider::getEnvSpecificAppDataPath());
    if (const auto error = FileManager::createDirectory(directory)) {
        platform::consoleLog(formatText("MKDIR Error! %@", error->text()));
        return;
    }
    try {
        platform::translatingSystemExceptions([&] {
            const std::lock_guard lock(oneWriter);
            appendThroughTwoHandles(formatText("%@/install.log", directory), masked.toUtf8());
        });
    } catch (const PlatformException& exception) {
        platform::consoleLog(formatText("Write log error: %@", exception));
    }
}

} // namespace

void QNLogger::debug(const QString& message, const LogContext& context) {
    writeLog(u"DEBUG"_s, message, context);
}

void QNLogger::error(const QString& message, const LogContext& context) {
    writeLog(u"ERROR"_s, message, context);
}

void QNLogger::showScreen(const QString& screenName, const LogContext& context) {
    debug(formatText("Show %@ screen", screenName), context);
}

void QNLogger::logEvent(const QString& eventText, const LogContext& context) {
    writeEvent(u"EVT"_s, eventText, context);
}

void QNLogger::writeLog(const QString& level, const QString& message, const LogContext& context) {
    const QString time = currentTimestamp();
    append(LogLine::plain({time, QNPortalProvider::getCi(), level, message}, context));
}

void QNLogger::writeEvent(const QString& level, const QString& eventText, const LogContext& context) {
    append(LogLine::event(LogLine::entryOfEvent(level, eventText), context));
}

QString QNLogger::maskPIIDataInMessage(const QString& text) {
    return LogLine::masked(text, platform::userName());
}
