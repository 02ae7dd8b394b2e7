#include "platform/Workspace.h"

#include "platform/RealPath.h"
#include "platform/linux/Spawn.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace platform {

bool openAddress(const std::optional<Address>& address) {
    // What begins with a hyphen would be an option to the program that opens, and what has no scheme a file of the
    // user's: no server may have that opened.
    if (!address || !address->scheme || address->text.startsWith(u'-')) {
        return false;
    }
    const auto child =
        spawn({.program = u"xdg-open"_s, .arguments = {address->text}, .searchPath = true, .ownSession = true});
    if (child) {
        collectInBackground(*child);
    }
    return child.has_value();
}

std::optional<QString> fullPathForApplication(const QString& path) {
    QString plain = path;
    while (plain.size() > 1 && plain.endsWith(u'/')) {
        plain.chop(1);
    }
    const bool isApplication =
        plain.startsWith(u'/') && plain.endsWith(u".app"_s) && QFileInfo(realPath(plain)).isDir();
    return isApplication ? std::optional(plain) : std::nullopt;
}

} // namespace platform
