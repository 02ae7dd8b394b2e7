#include "platform/ScreenReader.h"

#import <AppKit/AppKit.h>

namespace platform {

void announce(QAccessibleInterface&, const QString& text) {
    NSWindow* const window = NSApp.mainWindow;
    if (window == nil) {
        return;
    }
    NSAccessibilityPostNotificationWithUserInfo(
        window, NSAccessibilityAnnouncementRequestedNotification, @{
            NSAccessibilityAnnouncementKey : text.toNSString(),
            NSAccessibilityPriorityKey : @(NSAccessibilityPriorityMedium)
        });
}

} // namespace platform
