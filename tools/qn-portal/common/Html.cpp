#include "tools/qn-portal/common/Html.h"

namespace portal {

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            // Control characters may not stand in HTML at all.
            result += static_cast<unsigned char>(character) < 0x20U && character != '\n' ? ' ' : character;
        }
    }
    return result;
}

} // namespace portal
