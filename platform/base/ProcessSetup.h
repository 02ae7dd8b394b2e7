#pragma once

namespace platform {

// Undoes what a parent may have left behind and what would make the program misbehave: closed standard descriptors
// (the next file opened would take the console's place), ignored or blocked signals of children and of the end, a
// limit for files that would kill it in mid-download. First thing in main.
void undoInheritedSettings();

// An exception for lack of memory that nobody catches, and that no crash handler is there for yet, is a line on the
// console and status 1. Before installTerminateNet().
void refuseWithoutMemory();

// What a run needs and this process was not given, as a sentence for the console; null when there is nothing. Libraries
// that run out of descriptors or of memory in the middle abort, or wait for ever.
const char* missingRoom();

} // namespace platform
