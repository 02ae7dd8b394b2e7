#pragma once

#include <QString>

// Lenient conversions of text to numbers, the same in every locale.
namespace NumberText {

// Skips leading blanks and line ends, then takes the longest leading decimal number; 0.0 when none leads. Neither
// hexadecimal nor "inf" nor "nan" is a number; a number too large is infinite.
double doubleValue(const QString& text);

} // namespace NumberText
