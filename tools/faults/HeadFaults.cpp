#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <array>

namespace faults {

using loopback::Ending;
using loopback::Reply;

namespace {

using A = Answers&;
using T = Target;
using C = const Context&;

// The answer as bytes, with another status line.
void beginWith(Reply& reply, const std::string& statusLine) {
    holdBody(reply);
    const std::string head = loopback::headOf(reply);
    reply.raw = statusLine + head.substr(head.find("\r\n")) + reply.body;
    reply.ending = Ending::kClose;
}

void precede(Reply& reply, const std::string& bytes) {
    holdBody(reply);
    reply.raw = bytes + loopback::headOf(reply) + reply.body;
}

// One more line in the head, as it is.
void addLine(Reply& reply, const std::string& line) {
    holdBody(reply);
    std::string head = loopback::headOf(reply);
    head.insert(head.size() - 2, line);
    reply.raw = head + reply.body;
}

void sendOnly(Reply& reply, std::string bytes) {
    reply.raw = std::move(bytes);
    reply.ending = Ending::kClose;
}

void endLinesWithLineFeeds(Reply& reply) {
    holdBody(reply);
    std::string head = loopback::headOf(reply);
    std::erase(head, '\r');
    reply.raw = head + reply.body;
}

constexpr std::array kFaults{
    ofEach("status", "another status", "404",
           [](A a, T t, C c) { a.of(t).status = static_cast<int>(numberOf(c.value)); }),
    ofEach("status-line-short", "a status line without words behind the number", "",
           [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.1 200"); }),
    ofEach("status-two-digits", "a status of two digits", "",
           [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.1 99 Short"); }),
    ofEach("status-four-digits", "a status of four digits", "",
           [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.1 2000 Long"); }),
    ofEach("status-word", "a word as status", "", [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.1 good"); }),
    ofEach("http-0.9", "the body without any head", "",
           [](A a, T t, C) {
               holdBody(a.of(t));
               sendOnly(a.of(t), a.of(t).body);
           }),
    ofEach("http-1.0", "an answer of HTTP/1.0", "", [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.0 200 OK"); }),
    ofEach("http-1.9", "an answer of HTTP/1.9", "", [](A a, T t, C) { beginWith(a.of(t), "HTTP/1.9 200 OK"); }),
    ofEach("http-2", "an answer that says HTTP/2", "", [](A a, T t, C) { beginWith(a.of(t), "HTTP/2 200"); }),
    ofEach("http-2-frames", "HTTP/2's first frames, unasked", "",
           [](A a, T t, C) { sendOnly(a.of(t), std::string("\0\0\x06\x04\0\0\0\0\0\0\x03\0\0\0\x64", 15)); }),
    ofEach("http-small-letters", "the protocol's name in small letters", "",
           [](A a, T t, C) { beginWith(a.of(t), "http/1.1 200 ok"); }),
    ofEach("http-2-offered", "an answer that offers HTTP/2 and other places", "",
           [](A a, T t, C) { addLine(a.of(t), "Upgrade: h2c\r\nAlt-Svc: h2=\"127.0.0.1:1\"; ma=1\r\n"); }),
    ofEach("no-http", "an answer that is no HTTP", "",
           [](A a, T t, C) { sendOnly(a.of(t), "220 mail.portal.net ESMTP\r\n"); }),
    ofEach("garbage", "bytes that are nothing", "",
           [](A a, T t, C) { sendOnly(a.of(t), loopback::generatedBytes(0, 500)); }),
    ofEach("tls-alert", "a TLS alert on a plain connection", "",
           [](A a, T t, C) { sendOnly(a.of(t), std::string("\x15\x03\x01\0\x02\x02\x46", 7)); }),
    ofEach("line-feeds", "the head's lines end in LF alone", "", [](A a, T t, C) { endLinesWithLineFeeds(a.of(t)); }),
    ofEach("blank-lines-first", "two empty lines before the answer", "",
           [](A a, T t, C) { precede(a.of(t), "\r\n\r\n"); }),
    ofEach("continue-first", "100 Continue before the answer, unasked", "",
           [](A a, T t, C) { precede(a.of(t), "HTTP/1.1 100 Continue\r\n\r\n"); }),
    ofEach("early-hints-first", "103 Early Hints before the answer", "",
           [](A a, T t, C) { precede(a.of(t), "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"); }),
    ofEach("continue-only", "100 Continue, and then the end", "",
           [](A a, T t, C) { sendOnly(a.of(t), "HTTP/1.1 100 Continue\r\n\r\n"); }),
    ofEach("switching", "101 Switching Protocols, unasked", "",
           [](A a, T t, C) { sendOnly(a.of(t), "HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n"); }),
    ofEach("header-without-colon", "a line of the head without a colon", "",
           [](A a, T t, C) { addLine(a.of(t), "no colon here\r\n"); }),
    ofEach("header-without-name", "a field of the head without a name", "",
           [](A a, T t, C) { addLine(a.of(t), ": value\r\n"); }),
    ofEach("header-folded", "a field of the head on two lines", "",
           [](A a, T t, C) { addLine(a.of(t), "X-Long: one\r\n two\r\n"); }),
    ofEach("header-with-nul", "a NUL in the head", "",
           [](A a, T t, C) { addLine(a.of(t), std::string("X-Nul: a\0b\r\n", 12)); }),
    ofEach("header-not-utf8", "a field of the head that is no UTF-8", "",
           [](A a, T t, C) { addLine(a.of(t), "X-Name: \xff\xfe\r\n"); }),
    ofEach("header-long", "one field of so many KiB", "200",
           [](A a, T t, C c) {
               setHeader(a.of(t), "X-Long", std::string(static_cast<std::size_t>(numberOf(c.value)) * 1024, 'l'));
           }),
    ofEach("header-flood", "so many KiB of fields", "400",
           [](A a, T t, C c) { floodHead(a.of(t), static_cast<std::size_t>(numberOf(c.value)) * 1024); }),
    ofEach("cookies", "a hundred cookies", "",
           [](A a, T t, C) {
               for (int number = 0; number < 100; ++number) {
                   a.of(t).headers.emplace_back("Set-Cookie", "c" + std::to_string(number) + "=1");
               }
           }),
};

} // namespace

std::span<const Scenario> headFaults() {
    return kFaults;
}

} // namespace faults
