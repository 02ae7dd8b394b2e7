#include "platform/Display.h"

#import <AppKit/AppKit.h>

namespace platform {

std::optional<QByteArray> windowSystemPlugin(const QString&) {
    return NSScreen.mainScreen ? std::optional<QByteArray>("cocoa") : std::nullopt;
}

void prepareFonts() {} // the system's own service has read them

void keepToolkitFromStartingABus() {} // there is none

} // namespace platform
