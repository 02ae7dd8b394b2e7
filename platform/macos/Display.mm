#include "platform/Display.h"

#import <AppKit/AppKit.h>

namespace platform {

std::optional<QByteArray> windowSystemPlugin(const QString&) {
    return NSScreen.mainScreen ? std::optional<QByteArray>("cocoa") : std::nullopt;
}

} // namespace platform
