#pragma once

#include "hdiutil/image/Password.h"

#include <string>

namespace hdi {

// The password of an image that needs one: from standard input with `fromInput`, else asked for at the terminal,
// without echo, if standard input, output and error all are one: whoever takes the output in a program gets an error
// instead of a question that nobody sees. Null when none is needed or nobody can be asked. Throws FrontError for a
// password that cannot be read, beginning with `verb`. A signal that ends the process leaves the terminal as it was.
PasswordPtr passwordFor(const std::string& verb, const std::string& imagePath, bool fromInput);

// For an image that is to be made: asked for twice at a terminal. Throws FrontError when there is none, when both
// differ, or for an empty one.
PasswordPtr newPassword(const std::string& verb, bool fromInput);

} // namespace hdi
