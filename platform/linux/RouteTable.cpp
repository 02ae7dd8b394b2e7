#include "platform/linux/RouteTable.h"

#include <QString>

namespace platform {
namespace {

constexpr unsigned kUp = 0x0001;
constexpr unsigned kReject = 0x0200;

bool isZero(const QByteArray& hexadecimal) {
    return !hexadecimal.isEmpty() && hexadecimal.count('0') == hexadecimal.size();
}

bool leadsOut(const QByteArray& flags, const QByteArray& interface) {
    bool valid = false;
    const unsigned value = flags.toUInt(&valid, 16);
    return valid && (value & kUp) != 0 && (value & kReject) == 0 && interface != "lo";
}

// Which column holds what; the destination and its width are zero in a default route.
struct Columns {
    qsizetype interface;
    qsizetype destination;
    qsizetype width;
    qsizetype flags;
    qsizetype needed;
};
constexpr Columns kIpv4{.interface = 0, .destination = 1, .width = 7, .flags = 3, .needed = 8};
constexpr Columns kIpv6{.interface = 9, .destination = 0, .width = 1, .flags = 8, .needed = 10};

QStringList defaultInterfaces(const QByteArray& table, const Columns& at) {
    QStringList interfaces;
    for (const QByteArray& line : table.split('\n')) {
        const QByteArrayList columns = line.simplified().split(' ');
        if (columns.size() >= at.needed && isZero(columns[at.destination]) && isZero(columns[at.width]) &&
            leadsOut(columns[at.flags], columns[at.interface])) {
            interfaces += QString::fromLocal8Bit(columns[at.interface]);
        }
    }
    return interfaces;
}

} // namespace

QStringList defaultInterfacesOfIpv4(const QByteArray& table) {
    return defaultInterfaces(table, kIpv4);
}

QStringList defaultInterfacesOfIpv6(const QByteArray& table) {
    return defaultInterfaces(table, kIpv6);
}

} // namespace platform
