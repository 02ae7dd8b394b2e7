#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>

#include <optional>

// The session bus and this program's place on it (D-Bus standard; Desktop Entry standard, "D-Bus
// activation"). Any thread.
namespace platform {

constexpr const char* kBusAddressVariable = "DBUS_SESSION_BUS_ADDRESS";

// An address of no known transport: what it is given to finds no bus, and starts none.
constexpr const char* kNoBusAddress = "none:";

// Where the bus of this session listens, whether or not it answers; absent when there is none. No bus is started.
std::optional<QString> sessionBusAddress();

// A well-formed bus name for any text: "com.example.app" stays, elements that a bus name cannot hold are mended.
QString busNameFor(const QString& bundleIdentifier);

// "/com/example/app" for "com.example.app", with _ for -.
QString objectPathFor(const QString& busName);

// Calls a method of org.freedesktop.Application at the copy that has the name, without waiting for its answer. Returns
// when the bus has taken the message, or after a second. No copy is started.
void callRunningCopy(const QString& method, const QVariantList& arguments);

} // namespace platform
