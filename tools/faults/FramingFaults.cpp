#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <array>
#include <charconv>

namespace faults {

using loopback::Ending;
using loopback::Reply;

namespace {

using A = Answers&;
using T = Target;
using C = const Context&;

// Another length than the body's; behind the body the connection ends.
void stateLength(Reply& reply, std::string length) {
    holdBody(reply);
    reply.contentLength = std::move(length);
    reply.ending = Ending::kClose;
}

std::size_t bodySize(Reply& reply) {
    holdBody(reply);
    return reply.body.size();
}

void addLength(Reply& reply, std::string length) {
    setHeader(reply, "content-length", std::move(length)); // before the true one
    reply.ending = Ending::kClose;
}

std::string hex(std::size_t number) {
    std::array<char, 20> digits{};
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return std::string(static_cast<const char*>(digits.data()), end);
}

// The body as one piece, with what stands where its length belongs and what stands behind it.
void inOnePiece(Reply& reply, const std::string& length, const std::string& last = "\r\n0\r\n\r\n") {
    holdBody(reply);
    reply.contentLength = "";
    setHeader(reply, "Transfer-Encoding", "chunked");
    reply.raw = loopback::headOf(reply) + length + "\r\n" + reply.body + last;
    reply.ending = Ending::kClose;
}

void inPieces(Reply& reply, std::size_t size, const std::string& lineEnd) {
    holdBody(reply);
    reply.contentLength = "";
    setHeader(reply, "Transfer-Encoding", "chunked");
    std::string text = loopback::headOf(reply);
    for (std::size_t at = 0; at < reply.body.size(); at += size) {
        const std::string piece = reply.body.substr(at, size);
        text.append(hex(piece.size())).append(lineEnd).append(piece).append(lineEnd);
    }
    reply.raw = text + "0" + lineEnd + lineEnd;
}

void withTrailers(Reply& reply, std::size_t bytes) {
    std::string trailers;
    while (trailers.size() < bytes) {
        trailers += "X-Trailer: " + std::string(1000, 't') + "\r\n";
    }
    inOnePiece(reply, hex(bodySize(reply)), "\r\n0\r\n" + trailers + "\r\n");
}

void encodeTransfer(Reply& reply, const char* encoding) {
    holdBody(reply);
    reply.contentLength = "";
    setHeader(reply, "Transfer-Encoding", encoding);
    reply.ending = Ending::kClose;
}

constexpr std::array kFaults{
    ofEach("length-one-more", "Content-Length is one byte too large", "",
           [](A a, T t, C) { stateLength(a.of(t), std::to_string(bodySize(a.of(t)) + 1)); }),
    ofEach("length-one-less", "Content-Length is one byte too small", "",
           [](A a, T t, C) { stateLength(a.of(t), std::to_string(bodySize(a.of(t)) - 1)); }),
    ofEach("length-half", "Content-Length is half the body's", "",
           [](A a, T t, C) { stateLength(a.of(t), std::to_string(bodySize(a.of(t)) / 2)); }),
    ofEach("length-zero", "Content-Length is 0, and a body follows", "",
           [](A a, T t, C) { stateLength(a.of(t), "0"); }),
    ofEach("length-negative", "Content-Length is -1", "", [](A a, T t, C) { stateLength(a.of(t), "-1"); }),
    ofEach("length-largest", "Content-Length is the largest number of 63 bits", "",
           [](A a, T t, C) { stateLength(a.of(t), "9223372036854775807"); }),
    ofEach("length-beyond", "Content-Length is a number beyond 64 bits", "",
           [](A a, T t, C) { stateLength(a.of(t), "99999999999999999999999999"); }),
    ofEach("length-letters", "Content-Length is a word", "", [](A a, T t, C) { stateLength(a.of(t), "many"); }),
    ofEach("length-signed", "Content-Length has a plus sign", "",
           [](A a, T t, C) { stateLength(a.of(t), "+" + std::to_string(bodySize(a.of(t)))); }),
    ofEach("length-list", "Content-Length twice in one field, the same", "",
           [](A a, T t, C) {
               const std::string length = std::to_string(bodySize(a.of(t)));
               stateLength(a.of(t), length + ", " + length);
           }),
    ofEach("length-twice", "two equal fields with the length", "",
           [](A a, T t, C) { addLength(a.of(t), std::to_string(bodySize(a.of(t)))); }),
    ofEach("length-twice-different", "two fields with different lengths", "",
           [](A a, T t, C) { addLength(a.of(t), std::to_string(bodySize(a.of(t)) + 7)); }),
    ofEach("length-none", "the body ends with the connection", "", [](A a, T t, C) { stateLength(a.of(t), ""); }),
    ofEach("pieces", "the body in pieces of so many bytes", "1000",
           [](A a, T t, C c) { inPieces(a.of(t), static_cast<std::size_t>(numberOf(c.value)), "\r\n"); }),
    ofEach("pieces-with-line-feeds", "the body in pieces, the lines between them ended by LF alone", "",
           [](A a, T t, C) { inPieces(a.of(t), 1000, "\n"); }),
    ofEach("piece-with-extension", "a word behind the piece's length", "",
           [](A a, T t, C) { inOnePiece(a.of(t), hex(bodySize(a.of(t))) + ";name=\"value\""); }),
    ofEach("piece-with-zeros", "zeros before the piece's length", "",
           [](A a, T t, C) { inOnePiece(a.of(t), "00000" + hex(bodySize(a.of(t)))); }),
    ofEach("piece-too-short", "a piece longer than its length", "",
           [](A a, T t, C) { inOnePiece(a.of(t), hex(bodySize(a.of(t)) - 1)); }),
    ofEach("piece-too-long", "a piece shorter than its length", "",
           [](A a, T t, C) { inOnePiece(a.of(t), hex(bodySize(a.of(t)) + 100)); }),
    ofEach("piece-negative", "a piece of length -1", "", [](A a, T t, C) { inOnePiece(a.of(t), "-1"); }),
    ofEach("piece-largest", "a piece whose length is the largest number of 63 bits", "",
           [](A a, T t, C) { inOnePiece(a.of(t), "7fffffffffffffff"); }),
    ofEach("piece-beyond", "a piece whose length is beyond 64 bits", "",
           [](A a, T t, C) { inOnePiece(a.of(t), "1ffffffffffffffff"); }),
    ofEach("piece-without-number", "a piece whose length is no number", "",
           [](A a, T t, C) { inOnePiece(a.of(t), "zz"); }),
    ofEach("piece-without-length", "a piece whose length is an empty line", "",
           [](A a, T t, C) { inOnePiece(a.of(t), ""); }),
    ofEach("pieces-without-end", "the last piece is missing", "",
           [](A a, T t, C) { inOnePiece(a.of(t), hex(bodySize(a.of(t))), "\r\n"); }),
    ofEach("trailers", "some trailers behind the pieces", "", [](A a, T t, C) { withTrailers(a.of(t), 3000); }),
    ofEach("trailers-flood", "so many KiB of trailers", "400",
           [](A a, T t, C c) { withTrailers(a.of(t), static_cast<std::size_t>(numberOf(c.value)) * 1024); }),
    ofEach("trailers-cut", "the connection closes within the trailers", "",
           [](A a, T t, C) { inOnePiece(a.of(t), hex(bodySize(a.of(t))), "\r\n0\r\nX-Trailer: "); }),
    ofEach("pieces-and-length", "a body in pieces with a length besides", "",
           [](A a, T t, C) {
               setHeader(a.of(t), "Content-Length", "5");
               inPieces(a.of(t), 1000, "\r\n");
           }),
    ofEach("transfer-identity", "Transfer-Encoding: identity", "",
           [](A a, T t, C) { encodeTransfer(a.of(t), "identity"); }),
    ofEach("transfer-unknown", "a transfer encoding that nobody knows", "",
           [](A a, T t, C) { encodeTransfer(a.of(t), "compress-o-mat"); }),
    ofEach("pieces-said-only", "chunked is said, but no pieces come", "",
           [](A a, T t, C) { encodeTransfer(a.of(t), "chunked"); }),
};

} // namespace

std::span<const Scenario> framingFaults() {
    return kFaults;
}

} // namespace faults
