#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace portal::check {

// The word of `known` that somebody who wrote `written` probably meant: the same but for case, or for at most a fifth
// of its letters (one always). Absent when there is none, and when `written` is itself known. Of two as near the first.
std::optional<QString> nearestWord(const QString& written, const QStringList& known);

} // namespace portal::check
