#pragma once

#include <QString>

#include <vector>

class Window;

namespace portal::screens {

// A text that does not fit its place on a screen.
struct Misfit {
    QString text;
    QString how; // "is cut off", "breaks inside a word", …
};

// What a screen shows that is cut off, breaks inside a word, leaves the window or lies over something else. Main
// thread.
std::vector<Misfit> misfitsOf(Window& window);

} // namespace portal::screens
