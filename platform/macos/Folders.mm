#include "platform/Folders.h"

#include "base/VolumesFolder.h"
#include "platform/Console.h"

#include <QFile>

#import <Foundation/Foundation.h>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform {

QString homeDirectory() {
    return QString::fromNSString(NSHomeDirectory());
}

QString userName() {
    return QString::fromNSString(NSUserName());
}

// The system makes one for each user, with mode 0700; its text ends with a slash. Whoever starts this program can name
// another one.
std::optional<QString> temporaryDirectory() {
    QString folder = QString::fromNSString(NSTemporaryDirectory());
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    if (!base::isPrivateFolder(QFile::encodeName(folder).toStdString(), ::geteuid())) {
        consoleLog(u"The temporary folder %1 is not this user's own"_s.arg(folder));
        return std::nullopt;
    }
    return folder;
}

std::optional<QString> existingTemporaryDirectory() {
    return temporaryDirectory();
}

} // namespace platform
