#include "platform/Folders.h"

#import <Foundation/Foundation.h>

namespace platform {

QString homeDirectory() {
    return QString::fromNSString(NSHomeDirectory());
}

QString userName() {
    return QString::fromNSString(NSUserName());
}

// The system makes one for each user, with mode 0700; its text ends with a slash.
std::optional<QString> temporaryDirectory() {
    QString folder = QString::fromNSString(NSTemporaryDirectory());
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    return folder;
}

std::optional<QString> existingTemporaryDirectory() {
    return temporaryDirectory();
}

} // namespace platform
