#pragma once

namespace platform {

// Undoes what a parent may have left behind and what would make the program misbehave: closed standard descriptors
// (the next file opened would take the console's place), ignored or blocked signals of children and of the end, a
// limit for files that would kill it in mid-download. First thing in main.
void undoInheritedSettings();

} // namespace platform
