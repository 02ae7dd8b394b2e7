#include "platform/Display.h"

#import <AppKit/AppKit.h>

namespace platform {

bool displayIsAvailable() {
    return NSScreen.mainScreen != nil;
}

} // namespace platform
