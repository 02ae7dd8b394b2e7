#include "platform/linux/RouteTable.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kIpv4Head = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";

QStringList ipv4(const QByteArray& rows) {
    return platform::defaultInterfacesOfIpv4(kIpv4Head + rows);
}

// A row of /proc/net/ipv6_route with these parts.
QByteArray ipv6Row(const QByteArray& destination, const QByteArray& prefix, const QByteArray& flags,
                   const QByteArray& interface) {
    const QByteArray zero(32, '0');
    return destination + ' ' + prefix + ' ' + zero + " 00 " + zero + " 00000400 00000002 00000000 " + flags + "     " +
           interface + '\n';
}

const QByteArray kAnyAddress(32, '0');

} // namespace

TEST(Ipv4Routes, YieldTheInterfacesOfUsableDefaultRoutesInOrder) {
    EXPECT_EQ(ipv4("eth0\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
                   "eth0\t000200C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"
                   "wlan0\t00000000\t0102A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"),
              QStringList({u"eth0"_s, u"wlan0"_s}));
}

TEST(Ipv4Routes, LeaveOutRoutesThatAreDownOrRejectOrLeadToTheMachineItself) {
    EXPECT_EQ(ipv4("eth0\t00000000\t010200C0\t0002\t0\t0\t0\t00000000\t0\t0\t0\n"), QStringList());
    EXPECT_EQ(ipv4("eth0\t00000000\t00000000\t0201\t0\t0\t0\t00000000\t0\t0\t0\n"), QStringList());
    EXPECT_EQ(ipv4("lo\t00000000\t00000000\t0001\t0\t0\t0\t00000000\t0\t0\t0\n"), QStringList());
}

TEST(Ipv4Routes, LeaveOutHostLinkLocalAndHalfDefaultRoutes) {
    EXPECT_EQ(ipv4("eth0\t0000FEA9\t00000000\t0001\t0\t0\t1000\t0000FFFF\t0\t0\t0\n"
                   "eth0\t0100000A\t00000000\t0005\t0\t0\t0\tFFFFFFFF\t0\t0\t0\n"
                   "tun0\t00000000\t00000000\t0001\t0\t0\t0\t00000080\t0\t0\t0\n"),
              QStringList());
}

TEST(Ipv4Routes, AreNoneInAnEmptyOrDamagedTable) {
    EXPECT_EQ(platform::defaultInterfacesOfIpv4(""), QStringList());
    EXPECT_EQ(ipv4(""), QStringList());
    EXPECT_EQ(ipv4("eth0\t00000000\t010200C0\n"), QStringList());
    EXPECT_EQ(ipv4("eth0 00000000 0 zz 0 0 0 00000000\n"), QStringList());
    EXPECT_EQ(platform::defaultInterfacesOfIpv4(QByteArray(4096, '\0')), QStringList());
}

TEST(Ipv4Routes, SurviveATableThatEndsAtAnyByte) {
    const QByteArray whole = kIpv4Head + "eth0\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n";
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QStringList found = platform::defaultInterfacesOfIpv4(whole.left(length));
        EXPECT_TRUE(found.isEmpty() || found == QStringList(u"eth0"_s)) << length;
    }
}

TEST(Ipv6Routes, YieldTheInterfacesOfUsableDefaultRoutes) {
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(ipv6Row("fe8" + QByteArray(29, '0'), "40", "00000001", "eth0") +
                                                ipv6Row(kAnyAddress, "00", "00450003", "eth1")),
              QStringList(u"eth1"_s));
}

TEST(Ipv6Routes, LeaveOutTheRejectingDefaultOfTheLoopbackAndRoutesThatAreDown) {
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(
                  ipv6Row(kAnyAddress, "00", "00200200", "lo") + ipv6Row(kAnyAddress, "00", "00000201", "eth0") +
                  ipv6Row(kAnyAddress, "00", "00000002", "eth0") + ipv6Row(kAnyAddress, "80", "00000001", "eth0") +
                  ipv6Row(kAnyAddress, "00", "00000001", "lo")),
              QStringList());
}

TEST(Ipv6Routes, LeaveOutARowWithoutItsLastColumn) {
    const QByteArray row = ipv6Row(kAnyAddress, "00", "00450003", "eth1").trimmed();
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(row), QStringList(u"eth1"_s));
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(row.first(row.lastIndexOf(' '))), QStringList());
}

TEST(Ipv6Routes, AreNoneInAnEmptyOrDamagedTable) {
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(""), QStringList());
    EXPECT_EQ(platform::defaultInterfacesOfIpv6(kAnyAddress + " 00\n\n \n"), QStringList());
}
