#pragma once

#include <string>

namespace hdi {

// Surrogates and numbers beyond Unicode become the replacement character.
inline void appendUtf8(std::string& text, char32_t code) {
    const auto byte = [](char32_t value) { return static_cast<char>(value); };
    const auto tail = [&byte](char32_t value) { return byte(0x80U | (value & 0x3fU)); };
    if (code > 0x10ffff || (code >= 0xd800 && code < 0xe000)) {
        code = 0xfffd;
    }
    if (code < 0x80) {
        text += byte(code);
    } else if (code < 0x800) {
        text += {byte(0xc0U | code >> 6U), tail(code)};
    } else if (code < 0x10000) {
        text += {byte(0xe0U | code >> 12U), tail(code >> 6U), tail(code)};
    } else {
        text += {byte(0xf0U | code >> 18U), tail(code >> 12U), tail(code >> 6U), tail(code)};
    }
}

} // namespace hdi
