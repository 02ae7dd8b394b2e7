#include "platform/WindowSystem.h"

#import <QuartzCore/QuartzCore.h>

namespace platform {

bool compositorIsRunning() {
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
