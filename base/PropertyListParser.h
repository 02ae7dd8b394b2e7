#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

// The one door through which property lists come in: those of bundles and those of disk images. It decides itself
// whether the bytes are XML or binary (newer versions of the library also take JSON and OpenStep text), and looks at
// them before the library does: that parses and frees nested containers by recursion, copies a shared binary object for
// every reference, and aborts at a NUL inside a text, so a small hostile file could end the process. Any thread.
//
// Facts: the DTD and the manual page plist(5) of macOS for XML; the header comment of Apple's CFBinaryPList.c for the
// binary form ("bplist00", objects, offset table, trailer).
namespace base {

inline constexpr std::size_t kLargestPropertyList = std::size_t{16} * 1024 * 1024; // bytes
inline constexpr std::size_t kDeepestPropertyList = 128;                           // containers inside one another

struct FreePropertyList {
    void operator()(void* node) const;
};
// A plist_t of libplist and all below it.
using PropertyListNode = std::unique_ptr<void, FreePropertyList>;

// Empty for anything that is no property list, or that breaks a bound. Never throws.
PropertyListNode parsePropertyList(std::string_view bytes);

// Whether the library may see the bytes; parsePropertyList() asks by itself. True says nothing about the rest being
// well-formed. Takes time linear in the input.
bool isSafePropertyList(std::string_view bytes);

} // namespace base
