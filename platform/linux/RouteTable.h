#pragma once

#include <QByteArray>
#include <QStringList>

// Reading of the kernel's routing tables as /proc shows them (proc(5); the flags are those of <net/route.h>). Pure.
namespace platform {

// The interfaces of the default routes in /proc/net/route: destination and mask zero, up, not rejecting, not on `lo`.
QStringList defaultInterfacesOfIpv4(const QByteArray& table);

// The same for /proc/net/ipv6_route.
QStringList defaultInterfacesOfIpv6(const QByteArray& table);

} // namespace platform
