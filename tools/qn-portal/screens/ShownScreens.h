#pragma once

#include <span>
#include <string>
#include <string_view>

namespace portal::screens {

// The first argument of a program that lies on a Stage.
inline constexpr std::string_view kShowScreens = "--show-screens";

// What this program does there: "pictures PREFIX" saves PREFIX + SCREEN + ".png" of each screen; "texts LOCALE…" prints
// a line for each locale, a list of {"screen", "text", "how"} of what does not fit, or null when it cannot be shown.
// Gives the exit status.
int showScreens(std::span<const std::string> arguments);

} // namespace portal::screens
