#pragma once

#include <string_view>

namespace launcher {

// Writes the files, folders and links of a tar archive (POSIX ustar, as pack.py makes it) into the folder that `folder`
// is open for. Nothing is written outside it: names are plain relative paths, and each folder's entry comes before what
// lies in it. Throws Problem when the archive is not of that kind or the disk takes no more.
void writeArchive(std::string_view archive, int folder);

} // namespace launcher
