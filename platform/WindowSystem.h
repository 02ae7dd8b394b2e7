#pragma once

#include <QRect>

#include <functional>
#include <vector>

class QWindow;

// What Qt does not tell of, or do to, the display. Main thread, with an application object.
namespace platform {

// Whether see-through parts of windows show what is behind them. Linux: on X11, whether somebody owns _NET_WM_CM_S0 of
// the screen; always on Wayland.
bool compositorIsRunning();

// Whether the system draws shadows round windows without a frame itself. Linux: no.
bool windowsHaveShadowsOfTheirOwn();

// Whether programs have a menu outside their windows, whose "Quit" is then this program's. Linux: no.
bool programsHaveAMenu();

// Calls `changed` on the main thread whenever the answer may have become another one. Never ends; once is enough.
void watchCompositor(std::function<void()> changed);

// Has the display told all that was asked of it, before something blocks this thread. Does not wait for an answer and
// does not turn the event loop.
void flushDisplay();

// Cuts a window to these rectangles, or makes only them take the mouse. In pixels of the display, from the window's
// corner; an empty list undoes it. Nothing happens where the display knows no shapes.
void setWindowShape(const QWindow& window, const std::vector<QRect>& rectangles);
void setWindowInputShape(const QWindow& window, const std::vector<QRect>& rectangles);

} // namespace platform
