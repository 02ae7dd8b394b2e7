#include "tests/platform/TransferOutcome.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <sched.h>

using namespace Qt::StringLiterals;

using loopback::Ending;
using loopback::LoopbackServer;
using loopback::Reply;

namespace {

// The kernel's tables of a machine with a default route, and of one without.
void fakeDefaultRoute(bool there) {
    const QByteArray head = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n";
    test::putSystemFile(u"/proc/net/route"_s,
                        there ? head + "fake0\t00000000\t0101A8C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n" : head);
    test::putSystemFile(u"/proc/net/ipv6_route"_s, "");
}

int codeWithAnswer(const Reply& reply, const TransferLimits& limits = {}) {
    LoopbackServer server;
    server.expect("GET /", reply);
    const auto outcome = test::fetch(server.address(), limits);
    EXPECT_EQ(outcome.data.has_value(), !outcome.error);
    EXPECT_EQ(outcome.response.has_value(), !outcome.error);
    return outcome.errorCode();
}

// A mebibyte of zeros, of which a thousandth comes over the wire.
std::string mebibyteAsGzip() {
    constexpr int kGzip = MAX_WBITS + 16;
    const std::string zeros(std::size_t{1024} * 1024, '\0');
    std::string packed(10000, '\0');
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.data()));
    stream.avail_in = static_cast<uInt>(zeros.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

} // namespace

TEST(UrlSessionErrors, ReportsAnAddressThatCannotBeAskedForWithoutRaising) {
    for (const char* address :
         {"", "no address at all", "http://h/a b", "word", "/path", "//host/path", "http:/x", "http:///x", "http://",
          "http://:80/", "localhost:8080", "mailto:a@b", "ftp://h/x", "data:text/plain,x", "scheme://x"}) {
        const auto outcome = test::fetch(address);
        EXPECT_EQ(outcome.errorCode(), -1002) << address;
        EXPECT_NE(outcome.thread, std::this_thread::get_id()) << address;
        EXPECT_FALSE(outcome.data) << address;
        EXPECT_FALSE(outcome.response) << address;
    }
}

TEST(UrlSessionErrors, NamesTheFailingAddressButNotAnAbsentOne) {
    EXPECT_EQ(test::fetch("scheme://x").error->text(), u"Error Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" "
                                                       "UserInfo={NSErrorFailingURLStringKey=scheme://x, "
                                                       "NSLocalizedDescription=unsupported URL}"_s);
    EXPECT_EQ(test::fetch("").error->text(), u"Error Domain=NSURLErrorDomain Code=-1002 \"unsupported "
                                             "URL\" UserInfo={NSLocalizedDescription=unsupported URL}"_s);
}

TEST(UrlSessionErrors, AsksForAnAddressWhoseSchemeIsInUpperCase) {
    LoopbackServer server;
    server.expect("GET /x", loopback::replyWith("there"));
    const auto outcome = test::fetch("HTTP" + server.address("/x").substr(4));
    EXPECT_EQ(outcome.data, QByteArray("there"));
}

TEST(UrlSessionErrors, ReportsARefusedConnection) {
    const loopback::RefusingPort port;
    const auto outcome = test::fetch(port.address());
    EXPECT_EQ(outcome.errorCode(), -1004);
    EXPECT_EQ(outcome.error->failingAddress.toStdString(), port.address());
}

TEST(UrlSessionErrors, ReportsANameThatIsNotResolved) {
    fakeDefaultRoute(true);
    EXPECT_EQ(test::fetch("http://no-such-host.invalid/").errorCode(), -1003);
}

TEST(UrlSessionErrors, CallsANameThatIsNotResolvedWithoutARouteBeingOffline) {
    fakeDefaultRoute(false);
    EXPECT_EQ(test::fetch("http://no-such-host.invalid/").errorCode(), -1009);
}

TEST(UrlSessionErrors, ReportsThatThereIsNoRouteInANetworkWithoutOne) {
    // A network namespace of its own, as root or in a user namespace; the request's thread inherits it.
    ASSERT_TRUE(unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0);
    EXPECT_EQ(test::fetch("http://192.0.2.1/").errorCode(), -1009);
    EXPECT_EQ(test::fetch("http://no-such-host.invalid/").errorCode(), -1009);
}

TEST(UrlSessionErrors, ReportsAConnectionThatIsLostInTheBody) {
    const auto head = loopback::headOf(loopback::replyWith("0123456789"));
    for (const Ending ending : {Ending::kClose, Ending::kReset}) {
        auto reply = loopback::replyWith("0123456789");
        reply.cutAfter = head.size() + 4;
        reply.ending = ending;
        EXPECT_EQ(codeWithAnswer(reply), -1005) << static_cast<int>(ending);
    }
}

TEST(UrlSessionErrors, ReportsAConnectionThatIsLostInTheHeadOrBeforeIt) {
    for (const std::uint64_t bytes : {0U, 5U, 20U}) {
        EXPECT_EQ(codeWithAnswer({.cutAfter = bytes, .ending = Ending::kClose}), -1005) << bytes;
    }
    EXPECT_EQ(codeWithAnswer({.cutAfter = 0, .ending = Ending::kReset}), -1005);
}

TEST(UrlSessionErrors, ReportsALengthThatPromisesTooMuchAndIgnoresTooMuchData) {
    EXPECT_EQ(codeWithAnswer({.body = "abc", .contentLength = "7", .ending = Ending::kClose}), -1005);
    EXPECT_EQ(codeWithAnswer({.body = "abcdefg", .contentLength = "3", .ending = Ending::kClose}), 0);
}

TEST(UrlSessionErrors, ReportsAnAnswerThatIsNone) {
    const std::vector<std::string> answers{
        "SSH-2.0-Server\r\n", std::string("\0\1\2\3garbage\r\n\r\n", 15),
        "HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nabc",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n",
        "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 5\r\n\r\nhello"};
    for (const auto& answer : answers) {
        EXPECT_THAT(codeWithAnswer({.raw = answer, .ending = Ending::kClose}), testing::AnyOf(-1011, -1005)) << answer;
    }
}

TEST(UrlSessionErrors, EndsAfterSixteenRedirects) {
    LoopbackServer server;
    for (int hop = 0; hop < 16; ++hop) {
        server.expect("GET /" + std::to_string(hop), loopback::redirectTo("/" + std::to_string(hop + 1)));
    }
    server.expect("GET /16", loopback::replyWith("the end"));
    EXPECT_EQ(test::fetch(server.address("/0")).data, QByteArray("the end"));
}

TEST(UrlSessionErrors, ReportsTheSeventeenthRedirect) {
    LoopbackServer server;
    for (int hop = 0; hop < 17; ++hop) {
        server.expect("GET /loop", loopback::redirectTo("/loop"));
    }
    EXPECT_EQ(test::fetch(server.address("/loop")).errorCode(), -1007);
}

TEST(UrlSessionErrors, ObeysASmallerLimitOfRedirects) {
    LoopbackServer server;
    server.expect("GET /loop", loopback::redirectTo("/loop"));
    TransferLimits limits;
    limits.redirects = 0;
    EXPECT_EQ(test::fetch(server.address("/loop"), limits).errorCode(), -1007);
}

TEST(UrlSessionErrors, DoesNotFollowARedirectAwayFromHttp) {
    test::writeFile(test::folder() + u"/secret"_s, "secret");
    for (const std::string& target :
         {std::string("ftp://127.0.0.1/x"), "file://" + (test::folder() + u"/secret"_s).toStdString(),
          std::string("scheme://x")}) {
        LoopbackServer server;
        server.expect("GET /", loopback::redirectTo(target));
        const auto outcome = test::fetch(server.address());
        EXPECT_EQ(outcome.errorCode(), -1002) << target;
        EXPECT_FALSE(outcome.data) << target;
    }
}

TEST(UrlSessionErrors, KeepsNoMoreInMemoryThanItsLimit) {
    TransferLimits limits;
    limits.data = 1000;
    EXPECT_EQ(codeWithAnswer({.generated = 1000}, limits), 0);
    EXPECT_EQ(codeWithAnswer({.generated = 1001}, limits), -1103);
}

TEST(UrlSessionErrors, KeepsNoMoreInMemoryThanItsLimitBeforeDecodingEither) {
    // Empty stored blocks of deflate (RFC 1951, section 3.2.4), which decode to nothing at all.
    std::string nothing;
    for (int block = 0; block < 300; ++block) {
        nothing += std::string("\x00\x00\x00\xff\xff", 5);
    }
    TransferLimits limits;
    limits.data = 1000;
    EXPECT_EQ(codeWithAnswer({.headers = {{"Content-Encoding", "deflate"}}, .body = nothing}, limits), -1103);
}

TEST(UrlSessionErrors, RefusesABombOfGzip) {
    TransferLimits limits;
    limits.data = 100000;
    EXPECT_EQ(codeWithAnswer({.headers = {{"Content-Encoding", "gzip"}}, .body = mebibyteAsGzip()}, limits), -1103);
    limits.data = 1048576;
    EXPECT_EQ(codeWithAnswer({.headers = {{"Content-Encoding", "gzip"}}, .body = mebibyteAsGzip()}, limits), 0);
}

TEST(UrlSessionErrors, ReportsABodyThatBreaksOffWithinItsEncoding) {
    const std::string whole = mebibyteAsGzip();
    for (const std::size_t bytes : {std::size_t{1}, whole.size() / 2, whole.size() - 1}) {
        EXPECT_EQ(codeWithAnswer({.headers = {{"Content-Encoding", "gzip"}}, .body = whole.substr(0, bytes)}), -1011);
    }
    EXPECT_EQ(codeWithAnswer({.headers = {{"Content-Encoding", "gzip"}}, .body = ""}), 0);
}

TEST(UrlSessionErrors, ReportsHeadersAndTrailersBeyondTheirLimit) {
    const std::string head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n";
    std::string few;
    while (few.size() < 290000) {
        few += "X-Filler: " + std::string(88, 'x') + "\r\n";
    }
    const std::string many = few + few;
    EXPECT_EQ(codeWithAnswer({.raw = head + few + "\r\n"}), 0);
    EXPECT_EQ(codeWithAnswer({.raw = head + many + "\r\n"}), -1103);
    EXPECT_EQ(codeWithAnswer({.raw = "HTTP/1.1 200 OK\r\n" + few + "Content-Length: 0\r\n\r\n"}), 0);
    EXPECT_EQ(codeWithAnswer({.raw = "HTTP/1.1 200 OK\r\n" + many + "Content-Length: 0\r\n\r\n"}), -1103);
}

TEST(UrlSessionErrors, HasTheseLimitsWhenShipped) {
    const TransferLimits limits;
    EXPECT_EQ(limits.idle, std::chrono::seconds(60));
    EXPECT_EQ(limits.whole, std::chrono::hours(7 * 24));
    EXPECT_EQ(limits.redirects, 16);
    EXPECT_EQ(limits.receiveBuffer, 524288);
    EXPECT_EQ(limits.head, 307200);
    EXPECT_EQ(limits.data, 4194304);
}

TEST(UrlSessionErrors, TimesOutWhenNoByteComesAtAll) {
    EXPECT_EQ(codeWithAnswer({.cutAfter = 0, .ending = Ending::kStall}, test::shortIdle()), -1001);
}

TEST(UrlSessionErrors, TimesOutWhenTheBodyStandsStill) {
    const auto head = loopback::headOf(loopback::replyWith("0123456789"));
    auto reply = loopback::replyWith("0123456789");
    reply.cutAfter = head.size() + 4;
    reply.ending = Ending::kStall;
    EXPECT_EQ(codeWithAnswer(reply, test::shortIdle()), -1001);
}

TEST(UrlSessionErrors, TimesOutWhileConnecting) {
    // A listener whose queue is full lets further connections wait.
    const loopback::BusyPort port;
    EXPECT_EQ(test::fetch(port.address(), test::shortIdle()).errorCode(), -1001);
}

TEST(UrlSessionErrors, GivesEveryByteTheWholeIdleTimeAnew) {
    // Three seconds in all, twice the limit, but never so long without a byte.
    auto reply = loopback::replyWith(std::string(30, 'x'));
    reply.pause = std::chrono::milliseconds(100);
    TransferLimits limits;
    limits.idle = std::chrono::milliseconds(1500);
    EXPECT_EQ(codeWithAnswer(reply, limits), 0);
}

TEST(UrlSessionErrors, TimesOutAfterTheWholeTimeHoweverBusy) {
    auto reply = loopback::replyWith(std::string(1000, 'x'));
    reply.pause = std::chrono::milliseconds(50);
    TransferLimits limits;
    limits.whole = std::chrono::milliseconds(500);
    EXPECT_EQ(codeWithAnswer(reply, limits), -1001);
}
