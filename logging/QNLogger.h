#pragma once

#include "logging/LogContext.h"

#include <QString>

// Appends entries to the event log: one line each, ended by CR LF, in <home><data path>/Logs/install.log.
//
// The lines look like JSON, but nothing in a value is escaped. The login name is masked in the whole line. The file
// grows without limit and is never truncated. Nothing is kept between calls.
//
// Threads: any; entries of several threads never mix. Errors: go to the console, and the entry is lost; nothing is
// thrown, but for a malformed event text.
class QNLogger {
public:
    static void debug(const QString& message, const LogContext& context);
    static void error(const QString& message, const LogContext& context);
    // A debug entry "Show … screen".
    static void showScreen(const QString& screenName, const LogContext& context);
    // `eventText` is a line of QNAnalyticSender::getMessage: time, ci=identifier and a JSON object, between blanks.
    static void logEvent(const QString& eventText, const LogContext& context);

    // `level` is the word for the key "trace".
    static void writeLog(const QString& level, const QString& message, const LogContext& context);
    // Throws PlatformException (NSRangeException) before any file is touched when the text has fewer than two
    // blank-separated tokens or the second one holds no "=".
    static void writeEvent(const QString& level, const QString& eventText, const LogContext& context);

    // Every occurrence of the user's login name becomes "****".
    static QString maskPIIDataInMessage(const QString& text);
};
