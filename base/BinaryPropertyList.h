#pragma once

#include <cstddef>
#include <string_view>

namespace base {

inline constexpr std::size_t kMostPropertyListObjects = 1'000'000; // after every reference has been followed

// The part of the door for the binary form. Refused is
// - what has tables that do not fit its length: the library trusts them in places;
// - objects nested deeper than kDeepestPropertyList, and cycles: it frees them by recursion;
// - more than kMostPropertyListObjects: it copies a shared object for every reference;
// - a text with a NUL: it aborts at it.
bool isSafeBinaryPropertyList(std::string_view bytes);

} // namespace base
