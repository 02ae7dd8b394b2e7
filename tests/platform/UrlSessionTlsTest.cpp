#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"
#include "tools/loopback/Certificate.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

using loopback::LoopbackServer;

namespace {

// Makes the certificate the only one that is trusted, beside the system's folder.
void trust(const loopback::TlsIdentity& identity) {
    const QString file = test::folder() + u"/trusted.pem"_s;
    test::writeFile(file, QByteArray::fromStdString(identity.certificate));
    test::setEnvironment("SSL_CERT_FILE", file.toUtf8());
}

} // namespace

TEST(UrlSessionTls, RefusesACertificateThatNobodyVouchesFor) {
    LoopbackServer server(loopback::makeSelfSignedIdentity());
    const auto outcome = test::fetch(server.address());
    EXPECT_EQ(outcome.errorCode(), -1202);
    EXPECT_THAT(server.requests(), testing::IsEmpty());
}

TEST(UrlSessionTls, TrustsTheCertificatesOfTheEnvironment) {
    const auto identity = loopback::makeSelfSignedIdentity();
    trust(identity);
    LoopbackServer server(identity);
    server.expect("GET /", loopback::replyWith("secret"));
    EXPECT_EQ(test::fetch(server.address()).data, QByteArray("secret"));
}

TEST(UrlSessionTls, RefusesATrustedCertificateOfAnotherHost) {
    const auto identity = loopback::makeSelfSignedIdentity("DNS:elsewhere.invalid");
    trust(identity);
    LoopbackServer server(identity);
    EXPECT_EQ(test::fetch(server.address()).errorCode(), -1202);
}

TEST(UrlSessionTls, ReportsAServerThatSpeaksSomethingElse) {
    LoopbackServer server;
    EXPECT_EQ(test::fetch("https" + server.address().substr(4)).errorCode(), -1200);
}

TEST(UrlSessionTls, DownloadsOverTls) {
    const auto identity = loopback::makeSelfSignedIdentity();
    trust(identity);
    LoopbackServer server(identity);
    server.expect("GET /a", {.generated = 3'000'000});
    EXPECT_EQ(test::download(server.address("/a")).contents.toStdString(), loopback::generatedBytes(0, 3'000'000));
}

TEST(UrlSessionTls, FollowsARedirectFromHttpToHttpsButNotBack) {
    const auto identity = loopback::makeSelfSignedIdentity();
    trust(identity);
    LoopbackServer plain;
    LoopbackServer secure(identity);
    plain.expect("GET /up", loopback::redirectTo(secure.address("/there")));
    secure.expect("GET /there", loopback::replyWith("there"));
    EXPECT_EQ(test::fetch(plain.address("/up")).data, QByteArray("there"));

    secure.expect("GET /down", loopback::redirectTo(plain.address("/never")));
    EXPECT_EQ(test::fetch(secure.address("/down")).errorCode(), -1002);
    EXPECT_EQ(plain.requests().size(), 1U);
}
