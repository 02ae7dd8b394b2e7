#include "tests/support/LoopbackServer.h"
#include "tests/tools/qn-portal/check/CheckCases.h"
#include "tools/loopback/Certificate.h"
#include "tools/qn-portal/check/TransferCheck.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using loopback::LoopbackServer;
using loopback::Reply;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace portal::check::test {

namespace {

Reply goodConfiguration() {
    Reply reply = loopback::replyWith("{}", "application/json");
    reply.headers.emplace_back("Cache-Control", "max-age=60");
    reply.headers.emplace_back("ETag", "\"1\"");
    return reply;
}

Reply goodImage() {
    Reply reply = loopback::replyWith("image", "application/x-apple-diskimage");
    reply.headers.emplace_back("Cache-Control", "public, max-age=31536000");
    reply.headers.emplace_back("ETag", "\"1\"");
    return reply;
}

Reply goodAnalytics() {
    return loopback::replyWith("ok", "text/plain");
}

QString addressOf(const LoopbackServer& server, const char* path) {
    return QString::fromStdString(server.address(path));
}

ConfigAddress placed(const QString& address) {
    return {address, {u"config.json"_s, 1, 1, {}, {}}};
}

Patience patience() {
    Patience patience;
    patience.configuration = 300ms;
    patience.analytics = 300ms;
    patience.analyticsLimit = 1000ms;
    return patience;
}

void askForConfiguration(Findings& findings, const Reply& reply) {
    LoopbackServer server;
    server.serve("GET /config.json", reply);
    TransferCheck check(findings, patience());
    static_cast<void>(check.configuration(addressOf(server, "/config.json"), {}));
}

void askForImage(Findings& findings, const Reply& reply) {
    LoopbackServer server;
    server.serve("GET /Kit.dmg", reply);
    const QTemporaryDir folder;
    TransferCheck check(findings, patience());
    hdi::PieceSums sums;
    static_cast<void>(check.image(placed(addressOf(server, "/Kit.dmg")), folder.filePath(u"Kit.dmg"_s), sums));
}

void sendAnalytics(Findings& findings, const Reply& reply) {
    LoopbackServer server;
    server.serve("POST /lines", reply);
    server.serve("GET /moved", goodAnalytics());
    TransferCheck check(findings, patience());
    check.analytics(placed(addressOf(server, "/lines")));
}

using Change = std::function<void(Reply&)>;

Case configuration(const char* code, const Change& change) {
    return {code, [change](Findings& findings) {
                Reply reply = goodConfiguration();
                change(reply);
                askForConfiguration(findings, reply);
            }};
}

Case image(const char* code, const Change& change) {
    return {code, [change](Findings& findings) {
                Reply reply = goodImage();
                change(reply);
                askForImage(findings, reply);
            }};
}

Case analytics(const char* code, const Change& change) {
    return {code, [change](Findings& findings) {
                Reply reply = goodAnalytics();
                change(reply);
                sendAnalytics(findings, reply);
            }};
}

void setHeader(Reply& reply, const std::string& name, const std::string& value) {
    std::erase_if(reply.headers, [&](const auto& header) { return header.first == name; });
    if (!value.empty()) {
        reply.headers.emplace_back(name, value);
    }
}

Change header(const std::string& name, const std::string& value) {
    return [=](Reply& reply) { setHeader(reply, name, value); };
}

std::vector<Case> configurationCases() {
    return {
        {"transfer-failed",
         [](Findings& findings) {
             const loopback::RefusingPort port;
             TransferCheck check(findings, patience());
             static_cast<void>(check.configuration(QString::fromStdString(port.address("/config.json")), {}));
         }},
        configuration("transfer-config-status", [](Reply& reply) { reply.status = 500; }),
        configuration("transfer-config-type", header("Content-Type", "text/html")),
        configuration("transfer-config-cached", header("Cache-Control", "public, max-age=86400")),
        configuration("transfer-config-cache-unsaid", header("Cache-Control", "")),
        configuration("transfer-cookie", header("Set-Cookie", "a=b")),
        configuration("transfer-vary", header("Vary", "User-Agent")),
        configuration("transfer-encoding", header("Content-Encoding", "zstd")),
        configuration("transfer-length",
                      [](Reply& reply) {
                          reply.contentLength = "5000";
                          reply.ending = loopback::Ending::kClose;
                      }),
        configuration("transfer-slow", [](Reply& reply) { reply.pause = 200ms; }),
        configuration("transfer-redirect-loop", [](Reply& reply) { reply = loopback::redirectTo("/config.json"); }),
        {"transfer-redirects",
         [](Findings& findings) {
             LoopbackServer server;
             server.serve("GET /config.json", loopback::redirectTo("/2"));
             server.serve("GET /2", loopback::redirectTo("/3"));
             server.serve("GET /3", loopback::redirectTo("/4"));
             server.serve("GET /4", goodConfiguration());
             TransferCheck check(findings, patience());
             static_cast<void>(check.configuration(addressOf(server, "/config.json"), {}));
         }},
    };
}

std::vector<Case> imageTransferCases() {
    return {
        image("transfer-image-status", [](Reply& reply) { reply.status = 206; }),
        image("transfer-image-encoded",
              [](Reply& reply) {
                  setHeader(reply, "Content-Encoding", "gzip");
                  // gzip of "image\n"
                  reply.body = std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff\xcb\xcc\x4d\x4c\x4f\xe5\x02\x00"
                                           "\xf2\x77\xc6\xc9\x06\x00\x00\x00",
                                           26);
              }),
        image("transfer-no-length",
              [](Reply& reply) {
                  reply.contentLength = "";
                  reply.ending = loopback::Ending::kClose;
              }),
        image("transfer-name-changed", header("Content-Disposition", "attachment; filename=\"Other.dmg\"")),
        image("transfer-image-type", header("Content-Type", "application/x-kit")),
        image("transfer-image-uncacheable", header("Cache-Control", "no-store")),
        image("transfer-image-unlabelled", header("ETag", "")),
    };
}

std::vector<Case> analyticsCases() {
    return {
        {"analytics-unreachable",
         [](Findings& findings) {
             const loopback::RefusingPort port;
             TransferCheck check(findings, patience());
             check.analytics(placed(QString::fromStdString(port.address("/lines"))));
         }},
        analytics("analytics-slow", [](Reply& reply) { reply.pause = 200ms; }),
        analytics("analytics-slow",
                  [](Reply& reply) {
                      reply.cutAfter = 0;
                      reply.ending = loopback::Ending::kStall;
                  }),
        analytics("analytics-refused", [](Reply& reply) { reply.status = 405; }),
        analytics("analytics-redirects", [](Reply& reply) { reply = loopback::redirectTo("/moved", 301); }),
    };
}

constexpr const char* kUsual = R"({"analyticsUrl": "", "userAction": [{"action": "openLink", "isActive": "1",
  "actionUrl": "https://www.kit-portal.net/get"}]})";
constexpr const char* kUnusual = R"({"userAction": [{"action": "openLink", "isActive": "1",
  "actionUrl": "https://www.kit-portal.net/holen"}]})";

// Asks for a document in two languages, of which each gets its own.
void askInTwoLanguages(Findings& findings, const std::string& vary) {
    LoopbackServer server;
    for (const char* const body : {kUsual, kUnusual}) {
        Reply reply = goodConfiguration();
        reply.body = body;
        setHeader(reply, "Vary", vary);
        server.expect("GET /config.json", reply);
    }
    TransferCheck check(findings, patience());
    const QString address = addressOf(server, "/config.json");
    const auto one = check.configuration(address, {{u"locale"_s, u"en-US"_s}});
    const auto other = check.configurationAgain(address, {{u"locale"_s, u"de-DE"_s}});
    check.compare(address, u"en-US"_s, *one, u"de-DE"_s, *other);
}

std::vector<Case> otherCases() {
    return {
        {"config-differs", [](Findings& findings) { askInTwoLanguages(findings, "locale"); }},
        {"transfer-missing-vary", [](Findings& findings) { askInTwoLanguages(findings, ""); }},
        {"transfer-redirect-to-http",
         [](Findings& findings) {
             const loopback::Authority authority;
             const loopback::TlsIdentity identity = authority.identity();
             const QTemporaryDir folder;
             QFile file(folder.filePath(u"authority.pem"_s));
             ASSERT_TRUE(file.open(QIODevice::WriteOnly));
             file.write(QByteArray::fromStdString(authority.certificate()));
             file.close();
             qputenv("SSL_CERT_FILE", file.fileName().toUtf8());
             LoopbackServer server(identity);
             server.serve("GET /config.json", loopback::redirectTo("http://127.0.0.1:1/config.json"));
             TransferCheck check(findings, patience());
             static_cast<void>(check.configuration(addressOf(server, "/config.json"), {}));
         }},
        {"bundle-link-dead",
         [](Findings& findings) {
             LoopbackServer server;
             server.serve("GET /help", loopback::replyWithStatus(404));
             TransferCheck check(findings, patience());
             check.page({u"Info.plist"_s, 0, 0, {}, {}}, addressOf(server, "/help"), "bundle-link-dead");
         }},
    };
}

} // namespace

void checkGoodTransfers(Findings& findings) {
    askForConfiguration(findings, goodConfiguration());
    askForImage(findings, goodImage());
    sendAnalytics(findings, goodAnalytics());
}

std::vector<Case> transferCases() {
    std::vector<Case> all;
    for (const auto& cases : {configurationCases(), imageTransferCases(), analyticsCases(), otherCases()}) {
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

} // namespace portal::check::test
