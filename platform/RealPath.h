#pragma once

#include <QString>

#include <optional>

// Absolute paths of tools and data are those of macOS (/usr/bin/hdiutil, /Volumes/…). Where Linux has no such
// file, a stand-in takes its place. What is logged, sent, parsed or handed on always shows the plain path.
namespace platform {

// The path to give to the kernel for a plain absolute path. Any thread.
//
// Linux: $QN_SYSTEM_ROOT + path when that variable is absolute and the file exists there; else the bundle's
// Contents/SystemRoot + path when it exists there; else, for /Volumes and below, the volumes folder of this user; else
// the path itself. macOS: the path itself.
QString realPath(const QString& plain);

// The folder that stands for /Volumes, which may not exist yet. Absent when the only candidate belongs to another user
// or can be written by one.
//
// Linux: $QN_SYSTEM_ROOT/Volumes when the variable is set; else $XDG_RUNTIME_DIR/Volumes when that folder is ours with
// mode 0700; else /tmp/volumes-UID.
std::optional<QString> volumesFolder();

// Appends the tool folders of the bundle's SystemRoot to PATH, for the scripts that look tools up by name. Main thread,
// before any other thread exists.
void addOwnToolsToPath();

} // namespace platform
