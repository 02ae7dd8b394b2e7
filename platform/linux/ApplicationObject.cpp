#include "platform/linux/ApplicationObject.h"

#include "platform/base/MainQueue.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QGuiApplication>
#include <QStringList>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kInterface = u"org.freedesktop.Application"_s;

void raiseWindows() {
    for (QWindow* const window : QGuiApplication::topLevelWindows()) {
        if (window->isVisible()) {
            window->raise();
            window->requestActivate();
        }
    }
}

} // namespace

ApplicationObject::ApplicationObject(std::function<void(const QString&)> openAddress)
    : openAddress_(std::move(openAddress)) {}

QString ApplicationObject::introspect(const QString&) const {
    return uR"(<interface name="org.freedesktop.Application">
  <method name="Activate"><arg type="a{sv}" direction="in"/></method>
  <method name="Open"><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/></method>
  <method name="ActivateAction">
    <arg type="s" direction="in"/><arg type="av" direction="in"/><arg type="a{sv}" direction="in"/>
  </method>
</interface>
)"_s;
}

bool ApplicationObject::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    const bool isOurs = message.interface() == kInterface || message.interface().isEmpty();
    const QString call = message.member() + u'(' + message.signature() + u')';
    if (isOurs && call == u"Activate(a{sv})"_s) {
        MainQueue::async(raiseWindows);
    } else if (isOurs && call == u"Open(asa{sv})"_s) {
        for (const QString& address : message.arguments().constFirst().toStringList()) {
            MainQueue::async([handler = openAddress_, address] { handler(address); });
        }
    } else if (!isOurs || call != u"ActivateAction(sava{sv})"_s) {
        return false; // the caller gets the error for an unknown method
    }
    if (message.isReplyRequired()) {
        connection.send(message.createReply());
    }
    return true;
}
