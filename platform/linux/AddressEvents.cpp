#include "platform/AddressEvents.h"

#include "platform/Bundle.h"
#include "platform/linux/ApplicationObject.h"
#include "platform/linux/BusGreeting.h"
#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <system_error>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

// Nothing depends on the outcome: without the name the program only cannot be reached by the desktop.
void takePlaceOnBus(const QString& address, const QString& name, ApplicationObject* object) {
    if (!busAnswers(address, std::nullopt)) {
        return;
    }
    QDBusConnection bus = QDBusConnection::connectToBus(address, u"address-events"_s);
    if (!bus.isConnected()) {
        return;
    }
    bus.registerVirtualObject(objectPathFor(name), object);
    QDBusMessage request = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                          u"org.freedesktop.DBus"_s, u"RequestName"_s);
    constexpr uint kWaitInLine = 0; // a copy that is just ending may still hold the name
    request.setArguments({name, kWaitInLine});
    bus.send(request);
}

} // namespace

// On a thread of its own: the first window must not wait for a bus.
void setOpenAddressHandler(std::function<void(const QString&)> handler) {
    const auto address = sessionBusAddress();
    const auto identifier = Bundle::mainBundle().bundleIdentifier();
    if (!address || !identifier) {
        return;
    }
    static ApplicationObject* object = nullptr; // lives as long as the process
    object = new ApplicationObject(std::move(handler));
    try {
        std::thread(takePlaceOnBus, *address, busNameFor(*identifier), object).detach();
    } catch (const std::system_error&) {
        delete object;
    }
}

void forwardAddressToRunningCopy(const QString& address) {
    callRunningCopy(u"Open"_s, {QStringList{address}, QVariantMap()});
}

} // namespace platform
