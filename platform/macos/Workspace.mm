#include "platform/Workspace.h"

#include <QFileInfo>

#import <AppKit/AppKit.h>

using namespace Qt::StringLiterals;

namespace platform {

bool openAddress(const std::optional<Address>& address) {
    const bool isWhole = address && address->scheme; // else it would be a file of this machine
    NSURL* const url = isWhole ? [NSURL URLWithString:address->text.toNSString()] : nil;
    return url && [[NSWorkspace sharedWorkspace] openURL:url];
}

std::optional<QString> fullPathForApplication(const QString& path) {
    QString plain = path;
    while (plain.size() > 1 && plain.endsWith(u'/')) {
        plain.chop(1);
    }
    const bool isApplication = plain.startsWith(u'/') && plain.endsWith(u".app"_s) && QFileInfo(plain).isDir();
    return isApplication ? std::optional(plain) : std::nullopt;
}

} // namespace platform
