#pragma once

#include "base/Descriptor.h"

#include <string>

namespace launcher {

// A folder that belongs to this user alone, and in which programs can be started, for what carries this identifier.
struct PrivateFolder {
    base::Descriptor descriptor;
    std::string path;
};

// The first of these that can be used, made when it is missing:
//
//   $XDG_CACHE_HOME/IDENTIFIER, else $HOME/.cache/IDENTIFIER
//   $XDG_RUNTIME_DIR/IDENTIFIER
//   ${TMPDIR:-/tmp}/IDENTIFIER-UID-program, /var/tmp/…, /dev/shm/…
//
// A folder of another owner, of a mode other than 0700, or that is none is passed over, and so is one on a file system
// that is mounted noexec. Throws Problem when nothing is left.
PrivateFolder findPrivateFolder(const std::string& identifier);

// Removes a folder and what is in it. What cannot be removed stays.
void removeFolder(int parent, const std::string& name);

} // namespace launcher
