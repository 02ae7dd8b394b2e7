#include "platform/Reachability.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <sched.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kIpv4Head = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
const QByteArray kIpv4Default = "qn7\t00000000\t010200C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n";
const QByteArray kIpv6Default = QByteArray(32, '0') + " 00 " + QByteArray(32, '0') + " 00 " + QByteArray(32, '0') +
                                " 00000400 00000002 00000000 00000003     qn7\n";

void putRoutes(const QByteArray& ipv4, const QByteArray& ipv6) {
    test::putSystemFile(u"/proc/net/route"_s, kIpv4Head + ipv4);
    test::putSystemFile(u"/proc/net/ipv6_route"_s, ipv6);
}

// A network of this process's own, with the loopback alone, down.
void enterEmptyNetwork() {
    if (::unshare(CLONE_NEWNET) != 0) {
        ASSERT_EQ(::unshare(CLONE_NEWUSER | CLONE_NEWNET), 0) << "network namespaces are needed for this case";
    }
}

void run(const char* command) {
    ASSERT_EQ(std::system(command), 0) << command; // NOLINT(cert-env33-c): fixed commands
}

// A cable with two ends: qn7 and qn8. The kernel tells a change of the cable a little later.
void addInterface() {
    run("ip link add qn7 type veth peer qn8 && ip link set qn8 up && ip link set qn7 up");
    run("ip address add 192.0.2.2/24 dev qn7");
}

} // namespace

TEST(DefaultRoute, IsReachableByEitherTable) {
    putRoutes(kIpv4Default, "");
    EXPECT_TRUE(platform::defaultRouteIsReachable());
    putRoutes("", kIpv6Default);
    EXPECT_TRUE(platform::defaultRouteIsReachable());
    putRoutes("", "");
    EXPECT_FALSE(platform::defaultRouteIsReachable());
}

TEST(DefaultRoute, IsNotReachableThroughAnInterfaceThatIsDown) {
    putRoutes(kIpv4Default, "");
    test::putSystemFile(u"/sys/class/net/qn7/flags"_s, "0x1002\n");
    EXPECT_FALSE(platform::defaultRouteIsReachable());
    test::putSystemFile(u"/sys/class/net/qn7/flags"_s, "0x1003\n");
    EXPECT_TRUE(platform::defaultRouteIsReachable());
}

TEST(DefaultRoute, IsNotReachableWithTheCableOut) {
    putRoutes(kIpv4Default, "");
    test::putSystemFile(u"/sys/class/net/qn7/flags"_s, "0x1003\n");
    test::putSystemFile(u"/sys/class/net/qn7/carrier"_s, "0\n");
    EXPECT_FALSE(platform::defaultRouteIsReachable());
    test::putSystemFile(u"/sys/class/net/qn7/carrier"_s, "1\n");
    EXPECT_TRUE(platform::defaultRouteIsReachable());
}

TEST(DefaultRoute, IsNotReachableInANetworkWithNothingButALoopback) {
    enterEmptyNetwork();
    EXPECT_FALSE(platform::defaultRouteIsReachable());
    run("ip link set lo up");
    EXPECT_FALSE(platform::defaultRouteIsReachable());
}

TEST(DefaultRoute, IsNotReachableInANetworkWithoutOne) {
    enterEmptyNetwork();
    addInterface();
    EXPECT_FALSE(platform::defaultRouteIsReachable());
}

TEST(DefaultRoute, IsReachableInANetworkWithOneUntilTheInterfaceGoesDown) {
    enterEmptyNetwork();
    addInterface();
    run("ip route add default via 192.0.2.1");
    EXPECT_TRUE(test::waitFor(platform::defaultRouteIsReachable));
    run("ip link set qn7 down");
    EXPECT_TRUE(test::waitFor([] { return !platform::defaultRouteIsReachable(); }));
}

TEST(DefaultRoute, IsNotReachableThroughALinkWithoutCarrier) {
    enterEmptyNetwork();
    addInterface();
    run("ip route add default via 192.0.2.1");
    EXPECT_TRUE(test::waitFor(platform::defaultRouteIsReachable));
    run("ip link set qn8 down");
    EXPECT_TRUE(test::waitFor([] { return !platform::defaultRouteIsReachable(); }));
}

TEST(DefaultRoute, IsReachableByIpv6Alone) {
    enterEmptyNetwork();
    addInterface();
    run("ip -6 address add 2001:db8::2/64 dev qn7 nodad");
    run("ip -6 route add default via 2001:db8::1 dev qn7");
    EXPECT_TRUE(test::waitFor(platform::defaultRouteIsReachable));
}

TEST(DefaultRoute, IsNotReachableWhenItRejects) {
    enterEmptyNetwork();
    addInterface();
    run("ip link set lo up && ip route add unreachable default && ip -6 route add unreachable default");
    EXPECT_FALSE(platform::defaultRouteIsReachable());
}
