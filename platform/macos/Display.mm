#include "platform/Display.h"

#include <QFileInfo>

#import <AppKit/AppKit.h>

using namespace Qt::StringLiterals;

namespace platform {

std::optional<QByteArray> windowSystemPlugin(const QString& pluginsFolder) {
    const bool isThere = QFileInfo(pluginsFolder + u"/platforms/libqcocoa.dylib"_s).isFile();
    return isThere && NSScreen.mainScreen ? std::optional<QByteArray>("cocoa") : std::nullopt;
}

void addOwnFonts(const QString&) {} // a bundle's fonts are named in its information list

void waitForOwnFonts() {}

} // namespace platform
