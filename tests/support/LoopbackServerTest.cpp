#include "tests/support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>

using loopback::Ending;
using loopback::LoopbackServer;
using loopback::Reply;

namespace {

// Sends the bytes and returns all that comes until the connection ends; `onAnswer` is called for each piece.
std::string exchange(
    std::uint16_t port, const std::string& bytes, const std::function<void()>& onAnswer = [] {}) {
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(connect(client, reinterpret_cast<const sockaddr*>(&target), sizeof target), 0);
    EXPECT_EQ(send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    std::string answer;
    std::array<char, 4096> block;
    for (ssize_t count = 0; (count = recv(client, block.data(), block.size(), 0)) > 0;) {
        answer.append(block.data(), static_cast<std::size_t>(count));
        onAnswer();
    }
    close(client);
    return answer;
}

Reply last(Reply reply) {
    reply.ending = Ending::kClose;
    return reply;
}

} // namespace

TEST(LoopbackServer, AnswersInTheOrderOfItsExpectations) {
    LoopbackServer server;
    server.expect("GET /one", loopback::replyWith("first", "text/plain"));
    server.expect("POST /two", last(loopback::replyWithStatus(404)));
    EXPECT_EQ(exchange(server.port(), "GET /one HTTP/1.1\r\n\r\nPOST /two HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc"),
              "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nfirst"
              "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
}

TEST(LoopbackServer, RecordsLinesHeadersInOrderAndBodies) {
    LoopbackServer server;
    server.expect("POST /p", last(loopback::replyWithStatus(204)));
    exchange(server.port(), "POST /p HTTP/1.1\r\nzeta: 1\r\nAlpha:2 \r\nContent-Length: 2\r\n\r\nhi");
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].line, "POST /p HTTP/1.1");
    EXPECT_THAT(requests[0].headers, testing::ElementsAre(testing::Pair("zeta", "1"), testing::Pair("Alpha", "2"),
                                                          testing::Pair("Content-Length", "2")));
    EXPECT_EQ(requests[0].body, "hi");
    EXPECT_EQ(requests[0].head, "POST /p HTTP/1.1\r\nzeta: 1\r\nAlpha:2 \r\nContent-Length: 2\r\n\r\n");
    EXPECT_EQ(requests[0].header("ALPHA"), "2");
    EXPECT_EQ(requests[0].header("Alph"), std::nullopt);
}

TEST(LoopbackServer, CallsAnUnexpectedRequestAProblem) {
    LoopbackServer server;
    server.expect("GET /a", {});
    exchange(server.port(), "GET /b HTTP/1.1\r\n\r\n");
    EXPECT_THAT(server.takeProblems(), testing::ElementsAre("requested but not expected before GET /a: GET /b HTTP/1.1",
                                                            "expected but not requested: GET /a"));
    EXPECT_THAT(server.takeProblems(), testing::IsEmpty());
}

TEST(LoopbackServer, CallsAnExpectationThatIsNotMetAProblem) {
    LoopbackServer server;
    server.expect("GET /a", {});
    EXPECT_THAT(server.takeProblems(), testing::ElementsAre("expected but not requested: GET /a"));
}

TEST(LoopbackServer, BreaksOffWhereItIsTold) {
    LoopbackServer server;
    auto reply = last(loopback::replyWith("0123456789", "text/plain"));
    const auto head = loopback::headOf(reply);
    reply.cutAfter = head.size() + 4;
    server.expect("GET /", reply);
    EXPECT_EQ(exchange(server.port(), "GET / HTTP/1.1\r\n\r\n"), head + "0123");
}

TEST(LoopbackServer, StatesAnotherLengthOrNone) {
    LoopbackServer server;
    server.expect("GET /", {.body = "abc", .contentLength = "7", .ending = Ending::kClose});
    EXPECT_EQ(exchange(server.port(), "GET / HTTP/1.1\r\n\r\n"), "HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\nabc");
    server.expect("GET /", {.body = "abc", .contentLength = "", .ending = Ending::kClose});
    EXPECT_EQ(exchange(server.port(), "GET / HTTP/1.1\r\n\r\n"), "HTTP/1.1 200 OK\r\n\r\nabc");
}

TEST(LoopbackServer, SendsWhatAFileHolds) {
    const auto path = testing::TempDir() + "loopback file " + std::to_string(::getpid());
    const auto contents = loopback::generatedBytes(0, 1'000'000);
    std::ofstream(path, std::ios::binary) << contents;
    LoopbackServer server;
    auto reply = last({.file = path});
    const auto head = loopback::headOf(reply);
    EXPECT_EQ(head, "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
    server.expect("GET /", reply);
    EXPECT_EQ(exchange(server.port(), "GET / HTTP/1.1\r\n\r\n"), head + contents);
    reply.cutAfter = head.size() + 300'000;
    server.expect("GET /", reply);
    EXPECT_EQ(exchange(server.port(), "GET / HTTP/1.1\r\n\r\n"), head + contents.substr(0, 300'000));
    std::remove(path.c_str());
}

TEST(LoopbackServer, GeneratesTheSameBytesWhereverThePiecesBegin) {
    const auto whole = loopback::generatedBytes(0, 3'000'000);
    EXPECT_EQ(whole.substr(1'048'000, 2000), loopback::generatedBytes(1'048'000, 2000));
    EXPECT_NE(whole.substr(0, 65536), whole.substr(1'048'576, 65536));
}

TEST(LoopbackServer, JoinsATunnelToItsTarget) {
    LoopbackServer target;
    target.expect("GET /behind", last(loopback::replyWith("reached")));
    LoopbackServer proxy;
    proxy.expect("CONNECT example.invalid:443", {.tunnelTo = target.port()});
    const auto answer =
        exchange(proxy.port(), "CONNECT example.invalid:443 HTTP/1.1\r\n\r\nGET /behind HTTP/1.1\r\n\r\n");
    EXPECT_EQ(answer, "HTTP/1.1 200 OK\r\n\r\n" + loopback::headOf(loopback::replyWith("reached")) + "reached");
}

TEST(LoopbackServer, EndsWhileAnAnswerStalls) {
    std::optional<LoopbackServer> server(std::in_place);
    const auto port = server->port();
    server->expect("GET /", {.ending = Ending::kStall});
    std::promise<void> headCame;
    std::thread client([&] {
        EXPECT_EQ(exchange(port, "GET / HTTP/1.1\r\n\r\n", [&] { headCame.set_value(); }),
                  "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    });
    EXPECT_EQ(headCame.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    server.reset();
    client.join();
}
