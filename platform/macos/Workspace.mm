#include "platform/Workspace.h"

#import <AppKit/AppKit.h>

namespace platform {

bool openAddress(const std::optional<Address>& address) {
    NSURL* const url = address ? [NSURL URLWithString:address->text.toNSString()] : nil;
    return url && [[NSWorkspace sharedWorkspace] openURL:url];
}

std::optional<QString> fullPathForApplication(const QString& path) {
    NSString* const fullPath = [[NSWorkspace sharedWorkspace] fullPathForApplication:path.toNSString()];
    return fullPath ? std::optional(QString::fromNSString(fullPath)) : std::nullopt;
}

} // namespace platform
