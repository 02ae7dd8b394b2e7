#include "logging/LogContext.h"

#include "platform/base/PathText.h"
#include "sysinfo/QNSystemInfo.h"

LogContext logContext(const char* function, const char* file, int line) {
    return {
        {QStringLiteral("language"), QNSystemInfo::getLanguage()},
        {QStringLiteral("country"), QNSystemInfo::getCountry()},
        {QStringLiteral("locale"), QNSystemInfo::getLocale()},
        {QStringLiteral("file"), PathText::lastPathComponent(QString::fromUtf8(file))},
        {QStringLiteral("function"), QString::fromUtf8(function)},
        {QStringLiteral("line"), QString::number(line)},
    };
}
