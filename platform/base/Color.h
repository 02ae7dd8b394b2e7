#pragma once

#include <QString>

#include <optional>

// A calibrated RGB colour: three components and alpha, each 0.0 to 1.0. The components keep their full precision, so
// that a colour read from text gives the same text again; convert to Qt's colour only for painting.
//
// Threads: a value.
struct Color {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    // Reads RRGGBB or RGB; every "#" in the text is ignored. Absent when any other number of characters is left.
    // A pair that does not begin with a hexadecimal digit contributes nothing, and the later ones move up; what is
    // missing in the end is 0.0. Only ASCII digits are digits.
    static std::optional<Color> colorWithHex(const QString& text);

    // #RRGGBB in upper case; components are truncated, not rounded, and alpha is left out.
    QString hexColor() const;

    friend bool operator==(const Color&, const Color&) = default;
};

// Nothing to be seen.
inline constexpr Color kClear{0.0, 0.0, 0.0, 0.0};
