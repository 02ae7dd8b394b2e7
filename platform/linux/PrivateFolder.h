#pragma once

#include <QString>

#include <optional>

// Folders that only this user can reach. What other users could plant there would be run or believed. Any thread.
namespace platform {

// A folder itself (no link to one) that belongs to this user with mode 0700.
bool isPrivateFolder(const QString& path);

// Makes the folder with mode 0700 when it is missing. False when it is not private afterwards.
bool ensurePrivateFolder(const QString& path);

// $XDG_RUNTIME_DIR when it is absolute and private (XDG Base Directory standard); absent otherwise.
std::optional<QString> sessionRuntimeFolder();

// The folder for what lives as long as the session: the one above, else /tmp/runtime-UID. Absent when that is not
// private.
std::optional<QString> runtimeFolder();

} // namespace platform
