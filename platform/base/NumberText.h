#pragma once

#include <QString>

#include <optional>

// Lenient conversions of text to numbers, the same in every locale.
namespace NumberText {

// Skips leading blanks and line ends, then takes the longest leading decimal number; 0.0 when none leads. Neither
// hexadecimal nor "inf" nor "nan" is a number; a number too large is infinite.
double doubleValue(const QString& text);

// Skips leading white space, takes an optional 0x when a digit follows, then hexadecimal digits; a value that does not
// fit is the largest one. Absent when no digit leads.
std::optional<unsigned> hexInt(const QString& text);

} // namespace NumberText
