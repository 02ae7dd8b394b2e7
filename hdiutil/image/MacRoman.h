#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace hdi {

// Text of the classic system in UTF-8. Line ends, carriage returns there, become line feeds; NUL and other control
// characters but the tab are left out.
//
// Facts: Unicode Consortium, MAPPINGS/VENDORS/APPLE/ROMAN.TXT.
std::string utf8FromMacRoman(std::span<const std::byte> text);

// One character of it, above ASCII included.
std::string utf8FromMacRoman(std::byte character);

} // namespace hdi
