#pragma once

#include "logging/LogContext.h"

#include <QString>

#include <optional>

// The lines of the event log, as text. Nothing here touches a file or a clock.
namespace LogLine {

// What stands in front of the context in a line.
struct Entry {
    QString time;
    std::optional<QString> identifier;
    QString level;
    QString message;
};

// A line whose message is a quoted text, which always begins with a blank. Nothing is escaped; a value that the context
// lacks is written as (null). Both kinds end in CR LF.
QString plain(const Entry& entry, const LogContext& context);

// A line whose message is a JSON object and stands there unquoted.
QString event(const Entry& entry, const LogContext& context);

// Takes "<time> ci=<identifier> <JSON>" apart. The message is the whole text without any occurrence of its first two
// tokens, and trimmed. Throws PlatformException (NSRangeException) when the text has fewer than two tokens or the
// second one no "=".
Entry entryOfEvent(const QString& level, const QString& eventText);

// Every occurrence of `name` becomes "****"; an empty name occurs nowhere.
QString masked(const QString& text, const QString& name);

} // namespace LogLine
