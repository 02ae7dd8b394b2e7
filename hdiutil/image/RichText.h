#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace hdi {

// The text of a document in the Rich Text Format, in UTF-8, without fonts, styles, pictures and notes. Whatever is
// broken in it is left out.
//
// Facts: Microsoft, "Rich Text Format (RTF)", version 1.9.1.
std::string utf8FromRichText(std::span<const std::byte> document);

} // namespace hdi
