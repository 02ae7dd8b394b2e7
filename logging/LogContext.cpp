#include "logging/LogContext.h"

#include "platform/base/PathText.h"
#include "sysinfo/QNSystemInfo.h"

using namespace Qt::StringLiterals;

LogContext logContext(const char* function, const char* file, int line) {
    return {
        {u"language"_s, QNSystemInfo::getLanguage()}, {u"country"_s, QNSystemInfo::getCountry()},
        {u"locale"_s, QNSystemInfo::getLocale()},     {u"file"_s, PathText::lastPathComponent(QString::fromUtf8(file))},
        {u"function"_s, QString::fromUtf8(function)}, {u"line"_s, QString::number(line)},
    };
}
