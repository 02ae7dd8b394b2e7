#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Runs a command-line program to its end and returns what it printed.
//
// Threads: any; blocks the caller for the whole run. Never raises: a program that cannot be run gives a console line
// and an ERROR entry, and nothing. Does not look at the exit status; does not read before the program has ended, so one
// that prints more than the pipe holds hangs.
class QNTask {
public:
    // Standard output up to the first zero byte, read as UTF-8, or as ISO 8859-1 where it is no valid UTF-8. Absent
    // when the program printed nothing or could not be run.
    static std::optional<QString> runTaskWithPath(const QString& path, const QStringList& arguments = {});
};
