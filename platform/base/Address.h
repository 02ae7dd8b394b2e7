#pragma once

#include <QString>

#include <optional>

// An address that passed the classic rules of macOS's URL parser: letters, digits, -._~!$&'()*+,/:;=?@[] , at
// most one #, and % followed by two hexadecimal digits. The text is kept as it was given: nothing is lower-cased,
// escaped or repaired.
//
// Facts: RFC 2396 and RFC 2732 (the grammar), RFC 3986 appendix B (taking an address apart).
struct Address {
    QString text;
    std::optional<QString> scheme; // case kept; absent in a relative address
    std::optional<QString> host;   // case kept, without the brackets of an IPv6 address; may be present and empty

    // Absent when the text holds anything else, an empty text included.
    static std::optional<Address> parse(const QString& text);
};
