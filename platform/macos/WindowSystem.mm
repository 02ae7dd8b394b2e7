#include "platform/WindowSystem.h"

#import <QuartzCore/QuartzCore.h>

namespace platform {

bool compositorIsRunning() {
    return true;
}

// Round what a window shows, and Qt asks for it.
bool windowsHaveShadowsOfTheirOwn() {
    return true;
}

bool programsHaveAMenu() {
    return true;
}

void watchCompositor(std::function<void()>) {}

void flushDisplay() {
    [CATransaction flush];
}

// Clear parts of a window neither show nor take the mouse.
void setWindowShape(const QWindow&, const std::vector<QRect>&) {}

void setWindowInputShape(const QWindow&, const std::vector<QRect>&) {}

} // namespace platform
