#pragma once

#include <QString>

#include <optional>

// Whose process this is, and where that user's files are. Any thread.
namespace platform {

// Without a slash added or removed. Linux: $HOME when it is absolute, else the account database.
QString homeDirectory();

// The login name from the account database, then $USER, then empty.
QString userName();

// The folder for downloads and the unmount script: private to this user, the same in every run, made when missing.
// Absent, with a console line, when its owner, mode or type is wrong: a file planted there would be run.
// Linux: ${TMPDIR:-/tmp}/<bundle identifier>-<uid>, mode 0700.
std::optional<QString> temporaryDirectory();

// The same folder, when it is there already and private. Makes nothing and says nothing.
std::optional<QString> existingTemporaryDirectory();

} // namespace platform
