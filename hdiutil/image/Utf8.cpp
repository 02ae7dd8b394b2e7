#include "hdiutil/image/Utf8.h"

#include <utf8proc.h>

#include <array>

namespace hdi {

void appendUtf8(std::string& text, char32_t code) {
    constexpr char32_t kReplacement = 0xfffd;
    const bool isCharacter = utf8proc_codepoint_valid(static_cast<utf8proc_int32_t>(code));
    std::array<utf8proc_uint8_t, 4> bytes{};
    const utf8proc_ssize_t length =
        utf8proc_encode_char(static_cast<utf8proc_int32_t>(isCharacter ? code : kReplacement), bytes.data());
    text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

} // namespace hdi
