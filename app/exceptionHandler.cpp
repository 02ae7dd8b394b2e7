#include "app/exceptionHandler.h"

#include "logging/LogContext.h"
#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/Termination.h"
#include "platform/base/Format.h"

namespace {

std::optional<QString> orNothing(const QString& text) {
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

void exceptionHandler(const PlatformException& exception) {
    const std::optional<QString> reason = orNothing(exception.reason());
    // A dictionary without entries prints as an absent one.
    const std::optional<QString> userInfo =
        exception.userInfo().isEmpty() ? std::nullopt : std::optional(describe(exception.userInfo()));
    platform::consoleLog(formatText("CRASH REASON: %@", reason));
    platform::consoleLog(formatText("CRASH USER_INFO: %@", userInfo));
    const LogContext context = logContext("void exceptionHandler(const PlatformException &)");
    QNLogger::error(formatText("Application crashed with [reason: %@ and userInfo: %@]", reason, userInfo), context);
    platform::terminate();
}
