#include "platform/Reachability.h"

#include "base/Descriptor.h"
#include "platform/RealPath.h"
#include "platform/linux/RouteTable.h"
#include "platform/linux/SystemFile.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

const QString kIpv4Routes = u"/proc/net/route"_s;
const QString kIpv6Routes = u"/proc/net/ipv6_route"_s;

// Up, and with a cable or its like. The kernel is asked by name, since /sys may show another network namespace than
// /proc/net does. An interface that cannot be asked counts by its route alone.
bool isRunning(const QString& interface) {
    const QByteArray name = interface.toLocal8Bit();
    ifreq request{};
    if (name.size() >= qsizetype(sizeof request.ifr_name)) {
        return true;
    }
    std::memcpy(request.ifr_name, name.constData(), static_cast<std::size_t>(name.size()));
    const base::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket) {
        return true;
    }
    const bool known = ::ioctl(socket.get(), SIOCGIFFLAGS, &request) == 0;
    constexpr int kNeeded = IFF_UP | IFF_RUNNING;
    return !known || (request.ifr_flags & kNeeded) == kNeeded;
}

// The same from files that stand for the system's own.
bool isRunningByFiles(const QString& interface) {
    const QString folder = u"/sys/class/net/"_s + interface;
    if (realPath(folder) == folder) {
        return true;
    }
    const auto flags = readSystemFile(folder + u"/flags"_s);
    const auto carrier = readSystemFile(folder + u"/carrier"_s);
    const bool isUp = !flags || (flags->trimmed().toUInt(nullptr, 16) & IFF_UP) != 0;
    return isUp && (!carrier || carrier->trimmed() != "0");
}

bool leadsOut(const QString& routes, QStringList (*defaultInterfaces)(const QByteArray&)) {
    const auto table = readSystemFile(routes);
    if (!table) {
        return false;
    }
    const QStringList interfaces = defaultInterfaces(*table);
    const bool isStandIn = realPath(routes) != routes;
    return std::any_of(interfaces.cbegin(), interfaces.cend(), isStandIn ? isRunningByFiles : isRunning);
}

} // namespace

bool defaultRouteIsReachable() {
    return leadsOut(kIpv4Routes, defaultInterfacesOfIpv4) || leadsOut(kIpv6Routes, defaultInterfacesOfIpv6);
}

} // namespace platform
