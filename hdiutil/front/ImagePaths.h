#pragma once

#include <string>

namespace hdi {

// What verbs check of the paths that they are given before they begin; `verb` begins the message. Throw FrontError.

// An image can be read there: its reader would wait for ever for the bytes of a pipe.
void requireImageFile(const std::string& verb, const std::string& path);

// A new image may appear there: nothing is there yet, or a file that may be replaced.
void requireFreePath(const std::string& verb, const std::string& path, bool replace);

} // namespace hdi
