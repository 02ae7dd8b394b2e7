#include "platform/Machine.h"

#import <AppKit/AppKit.h>

#include <mach-o/arch.h>

namespace platform {

std::array<int, 3> operatingSystemVersion() {
    const NSOperatingSystemVersion version = [NSProcessInfo processInfo].operatingSystemVersion;
    return {static_cast<int>(version.majorVersion), static_cast<int>(version.minorVersion),
            static_cast<int>(version.patchVersion)};
}

// Without a screen the message goes to nothing and answers zero by zero.
QSizeF mainScreenSize() {
    const NSSize size = [NSScreen mainScreen].frame.size;
    return {size.width, size.height};
}

std::optional<QString> localArchitectureDescription() {
    const NXArchInfo* const information = NXGetLocalArchInfo();
    return information ? std::optional(QString::fromUtf8(information->description)) : std::nullopt;
}

} // namespace platform
