#include "sysinfo/ProbeGuard.h"

#include "logging/QNLogger.h"
#include "platform/Console.h"
#include "platform/SystemExceptions.h"
#include "platform/base/Format.h"

void guardingProbe(const char* failureText, const char* function, const std::function<void()>& probe, const char* file,
                   int line) {
    try {
        platform::translatingSystemExceptions(probe);
    } catch (const PlatformException& exception) {
        const QString text = formatText(failureText, exception);
        platform::consoleLog(text);
        QNLogger::error(text, logContext(function, file, line));
    }
}
