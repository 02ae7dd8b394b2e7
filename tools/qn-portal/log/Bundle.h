#pragma once

#include "tools/qn-portal/log/LogFile.h"

#include <string>

namespace portal::eventlog {

// Writes an archive for support: the log, its timeline, and a list of what was taken out. That list, with the values,
// is printed first; the archive itself holds the kinds and numbers only. The file is read more than once, so it cannot
// be a pipe. Throws LogError; then there is no archive.
void writeBundle(LogFile& file, const std::string& path);

} // namespace portal::eventlog
