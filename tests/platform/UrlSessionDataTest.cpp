#include "platform/base/PlatformException.h"
#include "tests/platform/AsNobody.h"
#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using loopback::LoopbackServer;
using loopback::Reply;
using loopback::replyWith;
using loopback::replyWithStatus;

// "hello", as gzip, zlib and brotli write it.
const std::string
    kGzip("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\xcb\x48\xcd\xc9\xc9\x07\x00\x86\xa6\x10\x36\x05\x00\x00"
          "\x00",
          25);
const std::string kDeflate("\x78\x9c\xcb\x48\xcd\xc9\xc9\x07\x00\x06\x2c\x02\x15", 13);
const std::string kGzipOfGzip("\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\x93\xef\xe6\x60\x00\x03\xe6\xd3\x1e\x67\x4f\x9e"
                              "\x64\x67\x68\x5b\x26\x60\xc6\x0a\xe4\x03\x00\x60\xff\x88\x91\x19\x00\x00\x00",
                              41);
const std::string kBrotli("\x0b\x02\x80\x68\x65\x6c\x6c\x6f\x03", 9);

TEST(UrlSessionData, DeliversBodyAndResponseOnceOnAThreadOfItsOwn) {
    LoopbackServer server;
    server.expect("GET /config.json", replyWith("{\"a\":1}", "application/json"));
    const auto outcome = test::fetch(server.address("/config.json"));
    EXPECT_EQ(outcome.calls, 1);
    EXPECT_NE(outcome.thread, std::this_thread::get_id());
    EXPECT_EQ(outcome.data, QByteArray("{\"a\":1}"));
    ASSERT_TRUE(outcome.response);
    EXPECT_TRUE(outcome.response->isHttp);
    EXPECT_EQ(outcome.response->statusCode, 200);
    EXPECT_EQ(outcome.response->address.toStdString(), server.address("/config.json"));
    EXPECT_FALSE(outcome.error);
}

TEST(UrlSessionData, SendsTheGivenHeadersInOrderAfterTheClientsOwn) {
    test::setInfo(u"CFBundleName"_s, u"Kit Installer"_s);
    test::setInfo(u"CFBundleShortVersionString"_s, u"4.2"_s);
    LoopbackServer server;
    server.expect("GET /c?k=%20v", replyWithStatus(204));
    auto request = test::getRequest(server.address("/c?k=%20v"));
    request.headers = {{u"appName"_s, u"Kit"_s},  {u"ci"_s, u"0123"_s},    {u"os"_s, u"mac"_s},
                       {u"osVer"_s, u"14.2.1"_s}, {u"country"_s, u"DE"_s}, {u"locale"_s, u"de"_s}};
    test::fetch(request);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].head, "GET /c?k=%20v HTTP/1.1\r\n"
                                "Host: 127.0.0.1:" +
                                    std::to_string(server.port()) +
                                    "\r\n"
                                    "User-Agent: Kit%20Installer/4.2\r\n"
                                    "Accept: */*\r\n"
                                    "Accept-Encoding: gzip, deflate, br\r\n"
                                    "appName: Kit\r\n"
                                    "ci: 0123\r\n"
                                    "os: mac\r\n"
                                    "osVer: 14.2.1\r\n"
                                    "country: DE\r\n"
                                    "locale: de\r\n"
                                    "\r\n");
    EXPECT_EQ(requests[0].body, "");
}

TEST(UrlSessionData, SendsAnEmptyValueAndKeepsLineEndsOutOfOne) {
    LoopbackServer server;
    server.expect("GET /", replyWithStatus(204));
    auto request = test::getRequest(server.address("/"));
    request.headers = {{u"empty"_s, QString()}, {u"split"_s, u"a\r\nX-Other: b\nc"_s}, {u"umlaut"_s, u"Gr\u00fcn"_s}};
    test::fetch(request);
    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.header("empty"), "");
    EXPECT_EQ(sent.header("split"), "aX-Other: bc");
    EXPECT_EQ(sent.header("X-Other"), std::nullopt);
    EXPECT_EQ(sent.header("umlaut"), "Gr\xc3\xbcn");
}

TEST(UrlSessionData, PostsABodyOfAnySizeAtOnce) {
    LoopbackServer server;
    server.expect("POST /collect", replyWith("ok"));
    auto request = test::getRequest(server.address("/collect"));
    request.method = u"POST"_s;
    request.headers = {{u"Content-Type"_s, u"application/x-www-form-urlencoded"_s}};
    request.body = QByteArray(3 * 1024 * 1024, 'x') + "\r\nlast";
    EXPECT_EQ(test::fetch(request).data, QByteArray("ok"));
    const auto sent = server.requests().at(0);
    EXPECT_EQ(sent.body, request.body.toStdString());
    EXPECT_EQ(sent.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(sent.header("Content-Length"), "3145734");
    EXPECT_EQ(sent.header("Expect"), std::nullopt);
    EXPECT_EQ(sent.header("Transfer-Encoding"), std::nullopt);
}

TEST(UrlSessionData, CallsEveryStatusAnAnswer) {
    for (const int status : {200, 201, 204, 206, 300, 304, 400, 401, 403, 404, 407, 500, 503, 599}) {
        LoopbackServer server;
        server.expect("GET /", replyWithStatus(status));
        const auto outcome = test::fetch(server.address());
        EXPECT_FALSE(outcome.error) << status;
        ASSERT_TRUE(outcome.response) << status;
        EXPECT_EQ(outcome.response->statusCode, status);
    }
}

TEST(UrlSessionData, GivesEmptyDataForAnEmptyBody) {
    for (const int status : {200, 204}) {
        LoopbackServer server;
        server.expect("GET /", replyWithStatus(status));
        const auto outcome = test::fetch(server.address());
        ASSERT_TRUE(outcome.data) << status;
        EXPECT_EQ(outcome.data->size(), 0) << status;
        EXPECT_FALSE(outcome.data->isNull()) << status;
    }
}

TEST(UrlSessionData, CallsARedirectWithoutALocationAnAnswer) {
    LoopbackServer server;
    server.expect("GET /", replyWithStatus(302, "where?"));
    const auto outcome = test::fetch(server.address());
    EXPECT_EQ(outcome.response->statusCode, 302);
    EXPECT_EQ(outcome.data, QByteArray("where?"));
}

TEST(UrlSessionData, UndoesContentEncodings) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"gzip", kGzip}, {"deflate", kDeflate}, {"br", kBrotli}, {"identity", "hello"}};
    for (const auto& [encoding, body] : table) {
        LoopbackServer server;
        server.expect("GET /", {.headers = {{"Content-Encoding", encoding}}, .body = body});
        EXPECT_EQ(test::fetch(server.address()).data, QByteArray("hello")) << encoding;
    }
}

TEST(UrlSessionData, UndoesSeveralEncodingsAndDeflateWithoutItsFrame) {
    // "hello": gzip of gzip; bare deflate; two members of one gzip file; gzip with something behind its end.
    const std::string bare = kDeflate.substr(2, kDeflate.size() - 6);
    const std::vector<std::tuple<std::string, std::string, QByteArray>> rows{
        {"identity, gzip", kGzip, "hello"},    {"gzip, gzip", kGzipOfGzip, "hello"}, {"deflate", bare, "hello"},
        {"GZip", kGzip + kGzip, "hellohello"}, {"gzip", kGzip + "more", "hello"},    {"x-gzip", kGzip, "hello"},
    };
    for (const auto& [encoding, body, expected] : rows) {
        LoopbackServer server;
        server.expect("GET /", {.headers = {{"Content-Encoding", encoding}}, .body = body});
        EXPECT_EQ(test::fetch(server.address()).data, expected) << encoding;
    }
}

TEST(UrlSessionData, UndoesAnEncodingThatComesByteByByte) {
    for (const auto& [encoding, body] :
         {std::pair("gzip", kGzip), std::pair("deflate", kDeflate),
          std::pair("deflate", kDeflate.substr(2, kDeflate.size() - 6)), std::pair("br", kBrotli)}) {
        LoopbackServer server;
        server.expect(
            "GET /",
            {.headers = {{"Content-Encoding", encoding}}, .body = body, .pause = std::chrono::milliseconds(1)});
        EXPECT_EQ(test::fetch(server.address()).data, QByteArray("hello")) << encoding;
    }
}

TEST(UrlSessionData, HandsABodyInAnUnknownEncodingOnAsItCame) {
    for (const char* const encoding :
         {"UTF-8", "binary", "aws-chunked", "zstd", "gzip, zstd", "gzip,gzip,gzip,gzip,gzip,gzip"}) {
        LoopbackServer server;
        server.expect("GET /", {.status = 500, .headers = {{"Content-Encoding", encoding}}, .body = "as it is"});
        const auto outcome = test::fetch(server.address());
        EXPECT_EQ(outcome.data, QByteArray("as it is")) << encoding;
        ASSERT_TRUE(outcome.response) << encoding;
        EXPECT_EQ(outcome.response->statusCode, 500) << encoding;
    }
}

TEST(UrlSessionData, FollowsARedirectWhateverBecomesOfItsBody) {
    const std::string head = "HTTP/1.1 302 Found\r\nLocation: /next\r\n";
    const std::vector<Reply> replies{
        {.raw = head + "Content-Length: 50\r\n\r\nshort", .ending = loopback::Ending::kClose},
        {.raw = head + "Content-Length: 50\r\n\r\nshort", .ending = loopback::Ending::kReset},
        {.raw = head + "Content-Encoding: gzip\r\nContent-Length: 5\r\n\r\nhello"},
        {.raw = head + "Content-Length: 50\r\n\r\n", .ending = loopback::Ending::kStall},
        {.raw = head + "Transfer-Encoding: chunked\r\n\r\nzz\r\n", .ending = loopback::Ending::kStall},
        {.raw = head + "Content-Length: 0\r\n\r\n"},
    };
    for (const Reply& reply : replies) {
        LoopbackServer server;
        server.expect("GET /first", reply);
        server.expect("GET /next", replyWith("there"));
        EXPECT_EQ(test::fetch(server.address("/first")).data, QByteArray("there")) << *reply.raw;
    }
}

TEST(UrlSessionData, CallsARedirectWithAnEmptyLocationAnAnswer) {
    LoopbackServer server;
    server.expect("GET /", {.raw = "HTTP/1.1 302 Found\r\nLocation:\r\nContent-Length: 4\r\n\r\nstay"});
    const auto outcome = test::fetch(server.address());
    EXPECT_EQ(outcome.data, QByteArray("stay"));
    ASSERT_TRUE(outcome.response);
    EXPECT_EQ(outcome.response->statusCode, 302);
}

TEST(UrlSessionData, ResolvesARedirectAgainstThePresentAddress) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"next", "/a/b/next"}, {"../next?x=%20y", "/a/next?x=%20y"}, {"?q", "/a/b/first?q"}, {"/n#part", "/n"}};
    for (const auto& [location, target] : rows) {
        LoopbackServer server;
        server.expect("GET /a/b/first", loopback::redirectTo(location));
        server.expect("GET " + target, replyWith("there"));
        EXPECT_EQ(test::fetch(server.address("/a/b/first")).data, QByteArray("there")) << location;
    }
}

TEST(UrlSessionData, TriesOnceMoreWhenAKeptConnectionBreaksBeforeTheAnswer) {
    for (const auto ending : {loopback::Ending::kClose, loopback::Ending::kReset}) {
        LoopbackServer server;
        server.expect("GET /first", {.raw = "HTTP/1.1 302 Found\r\nLocation: /next\r\nContent-Length: 0\r\n\r\n"});
        server.expect("GET /next", {.cutAfter = 0, .ending = ending});
        server.expect("GET /next", replyWith("there"));
        EXPECT_EQ(test::fetch(server.address("/first")).data, QByteArray("there"));
        EXPECT_EQ(server.connections(), 2U);
    }
}

TEST(UrlSessionData, ReadsAChunkedBody) {
    LoopbackServer server;
    server.expect("GET /",
                  {.raw = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2;x=y\r\nde\r\n0\r\n\r\n"});
    EXPECT_EQ(test::fetch(server.address()).data, QByteArray("abcde"));
}

TEST(UrlSessionData, SkipsInterimAnswersAndTrailers) {
    LoopbackServer server;
    server.expect("GET /p", {.raw = "HTTP/1.1 103 Early Hints\r\nLink: <x>\r\n\r\n"
                                    "HTTP/1.1 201 Created\r\nTransfer-Encoding: chunked\r\n\r\n"
                                    "3\r\nabc\r\n0\r\nContent-Disposition: attachment; filename=late\r\n\r\n"});
    const auto outcome = test::fetch(server.address("/p"));
    EXPECT_EQ(outcome.data, QByteArray("abc"));
    EXPECT_EQ(outcome.response->statusCode, 201);
}

TEST(UrlSessionData, ReadsABodyThatEndsWithTheConnection) {
    LoopbackServer server;
    server.expect("GET /", {.body = "to the end", .contentLength = "", .ending = loopback::Ending::kClose});
    EXPECT_EQ(test::fetch(server.address()).data, QByteArray("to the end"));
}

TEST(UrlSessionData, FollowsRedirectsSilentlyAndReportsTheLastHop) {
    LoopbackServer server;
    server.expect("GET /a", {.status = 301, .headers = {{"Location", "/b/c"}}, .body = "thrown away"});
    server.expect("GET /b/c", loopback::redirectTo("d?e=f", 307));
    server.expect("GET /b/d?e=f", replyWith("there", "text/plain"));
    const auto outcome = test::fetch(server.address("/a"));
    EXPECT_EQ(outcome.data, QByteArray("there"));
    EXPECT_EQ(outcome.response->address.toStdString(), server.address("/b/d?e=f"));
    EXPECT_EQ(outcome.response->suggestedFilename, u"d.txt"_s);
}

TEST(UrlSessionData, TurnsAPostIntoAGetWhereTheStatusSaysSo) {
    for (const int status : {301, 302, 303}) {
        LoopbackServer server;
        server.expect("POST /p", loopback::redirectTo("/next", status));
        server.expect("GET /next", replyWith("got"));
        auto request = test::getRequest(server.address("/p"));
        request.method = u"POST"_s;
        request.body = "body";
        EXPECT_EQ(test::fetch(request).data, QByteArray("got")) << status;
        EXPECT_EQ(server.requests().at(1).body, "");
    }
}

TEST(UrlSessionData, RepeatsThePostAfter307And308) {
    for (const int status : {307, 308}) {
        LoopbackServer server;
        server.expect("POST /p", loopback::redirectTo("/next", status));
        server.expect("POST /next", replyWith("got"));
        auto request = test::getRequest(server.address("/p"));
        request.method = u"POST"_s;
        request.body = "body";
        EXPECT_EQ(test::fetch(request).data, QByteArray("got")) << status;
        EXPECT_EQ(server.requests().at(1).body, "body");
    }
}

TEST(UrlSessionData, SuggestsTheNameOfTheHeaderOfTheLastHop) {
    LoopbackServer server;
    server.expect("GET /a", {.status = 302,
                             .headers = {{"Location", "/b"}, {"Content-Disposition", "attachment; filename=first"}}});
    server.expect("GET /b", {.headers = {{"Content-Disposition", "attachment; filename=\"../Kit 4.dmg\""},
                                         {"Content-Type", "text/html; charset=utf-8"}}});
    EXPECT_EQ(test::fetch(server.address("/a")).response->suggestedFilename, u".._Kit 4.dmg.html"_s);
}

TEST(UrlSessionData, RaisesWhenNoThreadCanBeStarted) {
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NPROC, &usual), 0);
    const test::AsNobody nobody;
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &none), 0);
    const auto start = [] { UrlSession::dataTask(test::getRequest("http://127.0.0.1:1/"), [](auto, auto, auto) {}); };
    EXPECT_THROW(start(), PlatformException);
    EXPECT_THROW(UrlSession::downloadTask(std::nullopt, {}), PlatformException);
    ASSERT_EQ(setrlimit(RLIMIT_NPROC, &usual), 0);
}
