#pragma once

#include <string>

namespace hdi {

// Surrogates and numbers beyond Unicode become the replacement character.
void appendUtf8(std::string& text, char32_t code);

} // namespace hdi
