#pragma once

#include <QMap>
#include <QString>

// The six texts that every log call passes: "language", "country", "locale", "file", "function" and "line".
using LogContext = QMap<QString, QString>;

// The context of the calling place. `function` is the published name of the method, such as
// "-[QNMainController quitInstallation:]". Any thread.
LogContext logContext(const char* function, const char* file = __builtin_FILE(), int line = __builtin_LINE());
