#pragma once

#include <string>
#include <string_view>

namespace hdi::hfs {

// Names as HFS+ stores and compares them: at most 255 UTF-16 units, canonically decomposed, compared without regard to
// case by a table of the format's own. Pure functions; any thread.
//
// Facts: TN1150, "Unicode Subtleties", "Case-Insensitive String Comparison Algorithm" and its lower-case table. The
// decompositions are Unicode's, without the ranges that the format leaves alone (U+2000 to U+2FFF, U+F900 to U+FAFF)
// and without those that came after Unicode 3.2.

// The unit that `unit` is compared as; 0 for one that comparison ignores.
char16_t foldCase(char16_t unit);

// In decomposed form, marks in canonical order. Units that are no text (lone surrogates) stay as they are.
std::u16string decompose(std::u16string_view text);

// What two names have in common when the volume takes them for the same name.
std::u16string comparisonKey(std::u16string_view name, bool caseSensitive);

// The order of names in a catalog: below, equal to or above zero.
int compareNames(std::u16string_view left, std::u16string_view right, bool caseSensitive);

// A lone surrogate becomes U+FFFD.
std::string toUtf8(std::u16string_view text);
// Bytes that are no UTF-8 become U+FFFD, one for each.
std::u16string toUtf16(std::string_view text);
bool isUtf8(std::string_view text);

} // namespace hdi::hfs
