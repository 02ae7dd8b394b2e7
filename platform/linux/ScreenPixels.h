#pragma once

#include <QSize>

#include <optional>

class QScreen;

namespace platform {

// The screen's own pixels, as the X server tells them. Absent on other displays and for a screen that it does not name.
// What Qt tells is rounded to whole points. Main thread; a question to the display and back.
std::optional<QSize> pixelsOf(const QScreen& screen);

} // namespace platform
