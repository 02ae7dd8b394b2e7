#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace hdi {

// Stored names made fit for one component of a path. Pure functions.

// A slash becomes a colon (that is how macOS shows them), a NUL its visible symbol. What is longer than the 255 bytes a
// path component may have is composed: decomposed, as volumes store them, letters with marks take up to three times the
// room. What then is too long still, or empty, "." or "..", gets `number` by withNumber.
std::string safeName(std::string_view stored, std::uint64_t number);

// "name#1F.ext" for number 31: the number is unique in its volume, so the name is, too. At most 255 bytes, cut between
// characters.
std::string withNumber(std::string_view name, std::uint64_t number);

} // namespace hdi
