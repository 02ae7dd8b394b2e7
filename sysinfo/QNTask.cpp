#include "sysinfo/QNTask.h"

#include "logging/LogContext.h"
#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/SystemExceptions.h"
#include "platform/Task.h"
#include "platform/base/Format.h"
#include "platform/base/TextDecoding.h"

#include <memory>

namespace {

QByteArray outputOf(const QString& path, const QStringList& arguments) {
    const auto task = std::make_shared<Task>();
    const auto pipe = std::make_shared<Pipe>();
    task->setLaunchPath(path);
    task->setArguments(arguments);
    task->setStandardOutput(pipe);
    task->launch();
    task->waitUntilExit();
    return pipe->fileHandleForReading()->readDataToEndOfFile();
}

} // namespace

std::optional<QString> QNTask::runTaskWithPath(const QString& path, const QStringList& arguments) {
    try {
        QByteArray output;
        platform::translatingSystemExceptions([&] { output = outputOf(path, arguments); });
        return output.isEmpty() ? std::nullopt : std::optional(platform::decodeSystemText(output));
    } catch (const PlatformException& exception) {
        platform::consoleLog(formatText("Exception: %@", exception));
        QNLogger::error(formatText("Run Task with path: %@ threw an exception: %@", path, exception),
                        logContext("+[QNTask runTaskWithPath:andArguments:]"));
        return std::nullopt;
    }
}
