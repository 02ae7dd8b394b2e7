#include "platform/DisplayLoss.h"

#include "platform/Termination.h"
#include "platform/base/MainQueue.h"

#include <QGuiApplication>
#include <QScreen>

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace platform {

namespace {

bool isLost = false; // main thread only

bool connectionIsBroken(const QString& message) {
    // Without a screen the window system's plugin is not there yet, or no longer.
    if (QGuiApplication::primaryScreen() == nullptr) {
        return false;
    }
    if (const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) {
        return xcb_connection_has_error(x11->connection()) != 0;
    }
    return message.contains(u"connection broke"_s); // a compositor's; it can be asked from Qt 6.5 on only
}

} // namespace

void endIfDisplayIsLost(const QString& message) {
    if (isLost || !MainQueue::isMainThread() || !connectionIsBroken(message)) {
        return;
    }
    isLost = true;
    terminate();
}

bool displayIsLost() {
    return isLost;
}

} // namespace platform
