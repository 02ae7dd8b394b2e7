#pragma once

namespace hdi {

// A function of a module: a library of our own that is loaded only when it is needed, since looking up the symbols of
// the libraries beneath it would lengthen every start. It lies in ../lib beside the program, or where the system looks
// for libraries, and stays loaded. `what` names, for the error, what cannot be read without it. Throws ImageError
// (kUnsupported).
void* moduleFunction(const char* module, const char* function, const char* what);

} // namespace hdi
