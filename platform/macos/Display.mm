#include "platform/Display.h"

#include "platform/base/WindowPlugin.h"

#import <AppKit/AppKit.h>

using namespace Qt::StringLiterals;

namespace platform {

std::optional<QByteArray> windowSystemPlugin(const QString& pluginsFolder) {
    const bool isThere = hasWindowPlugin(pluginsFolder, u"cocoa"_s, u".dylib"_s);
    return isThere && NSScreen.mainScreen ? std::optional<QByteArray>("cocoa") : std::nullopt;
}

void addOwnFonts(const QString&) {} // a bundle's fonts are named in its information list

void waitForOwnFonts() {}

} // namespace platform
