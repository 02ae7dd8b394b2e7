#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"
#include "tools/loopback/Certificate.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

using loopback::LoopbackServer;

TEST(UrlSessionProxy, AsksTheProxyOfTheEnvironmentForPlainAddresses) {
    LoopbackServer proxy;
    test::setEnvironment("http_proxy", QByteArray::fromStdString(proxy.address("")));
    proxy.expect("GET http://portal.invalid/config", loopback::replyWith("by proxy"));
    EXPECT_EQ(test::fetch("http://portal.invalid/config").data, QByteArray("by proxy"));
    EXPECT_EQ(proxy.requests().at(0).header("Host"), "portal.invalid");
}

TEST(UrlSessionProxy, TunnelsThroughTheProxyForSecureAddresses) {
    const auto identity = loopback::makeSelfSignedIdentity("DNS:portal.invalid");
    const QString trusted = test::folder() + u"/trusted.pem"_s;
    test::writeFile(trusted, QByteArray::fromStdString(identity.certificate));
    test::setEnvironment("SSL_CERT_FILE", trusted.toUtf8());
    LoopbackServer target(identity);
    LoopbackServer proxy;
    test::setEnvironment("https_proxy", QByteArray::fromStdString(proxy.address("")));
    proxy.expect("CONNECT portal.invalid:443", {.tunnelTo = target.port()});
    target.expect("GET /config", loopback::replyWith("through the tunnel"));
    EXPECT_EQ(test::fetch("https://portal.invalid/config").data, QByteArray("through the tunnel"));
    EXPECT_EQ(target.requests().at(0).header("Host"), "portal.invalid");
}

TEST(UrlSessionProxy, GoesPastTheProxyForExceptedHosts) {
    LoopbackServer proxy;
    LoopbackServer server;
    test::setEnvironment("http_proxy", QByteArray::fromStdString(proxy.address("")));
    test::setEnvironment("no_proxy", "localhost,127.0.0.1");
    server.expect("GET /", loopback::replyWith("direct"));
    EXPECT_EQ(test::fetch(server.address()).data, QByteArray("direct"));
    EXPECT_EQ(proxy.connections(), 0U);
}

TEST(UrlSessionProxy, ReportsAProxyThatRefuses) {
    const loopback::RefusingPort port;
    test::setEnvironment("http_proxy", QByteArray::fromStdString(port.address("")));
    EXPECT_EQ(test::fetch("http://portal.invalid/").errorCode(), -1004);
}
