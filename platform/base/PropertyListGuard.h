#pragma once

#include <cstddef>
#include <string_view>

// Looks at a property list before the library that reads it does: the library parses and frees nested containers by
// recursion, copies a shared binary object for every reference, and aborts at a NUL inside a text, so a small hostile
// file can end the process. Standard library only, since the disk-image tool uses it too.
//
// Facts: the DTD and the manual page plist(5) of macOS for XML; the header comment of Apple's CFBinaryPList.c for the
// binary form ("bplist00", trailer, offset table, object markers).
namespace PropertyListGuard {

constexpr std::size_t kLargestInput = std::size_t{16} * 1024 * 1024; // bytes
constexpr std::size_t kDeepestNesting = 128;                         // containers inside one another
constexpr std::size_t kMostObjects = 1'000'000;                      // after every reference has been followed

// False when the bytes break one of the bounds, or when a binary list's tables do not fit its length. True says nothing
// about the rest being well-formed. Never throws; takes time linear in the input and kMostObjects.
bool isSafe(std::string_view bytes);

} // namespace PropertyListGuard
