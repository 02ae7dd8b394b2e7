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

} // namespace

QStringList defaultInterfacesOfIpv4(const QByteArray& table) {
    constexpr qsizetype kInterface = 0;
    constexpr qsizetype kDestination = 1;
    constexpr qsizetype kFlags = 3;
    constexpr qsizetype kMask = 7;
    QStringList interfaces;
    for (const QByteArray& line : table.split('\n')) {
        const QByteArrayList columns = line.simplified().split(' ');
        if (columns.size() > kMask && isZero(columns[kDestination]) && isZero(columns[kMask]) &&
            leadsOut(columns[kFlags], columns[kInterface])) {
            interfaces += QString::fromLocal8Bit(columns[kInterface]);
        }
    }
    return interfaces;
}

QStringList defaultInterfacesOfIpv6(const QByteArray& table) {
    constexpr qsizetype kDestination = 0;
    constexpr qsizetype kPrefixLength = 1;
    constexpr qsizetype kFlags = 8;
    constexpr qsizetype kInterface = 9;
    QStringList interfaces;
    for (const QByteArray& line : table.split('\n')) {
        const QByteArrayList columns = line.simplified().split(' ');
        if (columns.size() > kInterface && isZero(columns[kDestination]) && isZero(columns[kPrefixLength]) &&
            leadsOut(columns[kFlags], columns[kInterface])) {
            interfaces += QString::fromLocal8Bit(columns[kInterface]);
        }
    }
    return interfaces;
}

} // namespace platform
