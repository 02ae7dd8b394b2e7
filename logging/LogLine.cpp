#include "logging/LogLine.h"

#include "platform/base/Format.h"
#include "platform/base/PathText.h"
#include "platform/base/PlatformException.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

QString itemAt(const QStringList& items, qsizetype index) {
    if (index >= items.size()) {
        throw PlatformException::range(u"*** -[__NSArrayM objectAtIndex:]: index %1 beyond bounds [0 .. %2]"_s.arg(
            QString::number(index), QString::number(items.size() - 1)));
    }
    return items[index];
}

QString without(QString text, const QString& token) {
    // Qt finds empty text everywhere; it is to be found nowhere.
    return token.isEmpty() ? text : text.remove(token);
}

std::optional<QString> valueOf(const LogContext& context, const char* key) {
    const auto found = context.constFind(QString::fromLatin1(key));
    return found == context.constEnd() ? std::nullopt : std::optional(*found);
}

QString filled(const char* layout, const LogLine::Entry& entry, const LogContext& context) {
    return formatText(layout, entry.time, entry.identifier, entry.level, entry.message, valueOf(context, "language"),
                      valueOf(context, "country"), valueOf(context, "locale"), valueOf(context, "file"),
                      valueOf(context, "function"), valueOf(context, "line"));
}

} // namespace

namespace LogLine {

QString plain(const Entry& entry, const LogContext& context) {
    return filled("{ \"time\": \"%@\",\"ci\": \"%@\", \"trace\": \"%@\", \"message\":\" %@\", \"lang\": \"%@\", "
                  "\"country\": \"%@\", \"locale\": \"%@\", \"file\": \"%@\", \"fn\": \"%@\", \"line\": \"%@\" }\r\n",
                  entry, context);
}

QString event(const Entry& entry, const LogContext& context) {
    return filled("{ \"time\": \"%@\",\"ci\": \"%@\", \"trace\": \"%@\", \"message\": %@, \"lang\": \"%@\", "
                  "\"country\": \"%@\", \"locale\": \"%@\", \"file\": \"%@\", \"fn\": \"%@\", \"line\": \"%@\" }\r\n",
                  entry, context);
}

Entry entryOfEvent(const QString& level, const QString& eventText) {
    const QStringList tokens = eventText.split(QLatin1Char(' '));
    const QString time = itemAt(tokens, 0);
    const QString labelled = itemAt(tokens, 1);
    const QString identifier = itemAt(labelled.split(QLatin1Char('=')), 1);
    const QString rest = without(without(eventText, time), labelled);
    return {time, identifier, level, PathText::trimmedOfWhitespaceAndNewlines(rest)};
}

QString masked(const QString& text, const QString& name) {
    return name.isEmpty() ? text : QString(text).replace(name, u"****"_s);
}

} // namespace LogLine
