#pragma once

#include <string_view>

namespace base {

// The part of the door for XML. Refused is
// - what does not begin with an angle bracket, behind blanks: it is no XML;
// - a NUL, as a byte or as a numbered character: the library aborts at it; other numbered characters are fine;
// - containers nested deeper than kDeepestPropertyList: the library frees them by recursion;
// - an element that is not closed, or closed twice: a list that was cut short is none;
// - an angle bracket or half a pair of quotes inside a tag or a declaration: the library passes over quoted text and
//   this reader does not, so what follows could be counted wrongly;
// - a document type with declarations of its own: entities multiply, and no real list declares any.
// Comments and CDATA sections may hold anything, as they do in real lists.
bool isSafeXmlPropertyList(std::string_view text);

} // namespace base
