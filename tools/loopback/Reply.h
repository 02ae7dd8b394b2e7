#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What a loopback server records of a request and how it answers. Values without behaviour of their own.
namespace loopback {

using Headers = std::vector<std::pair<std::string, std::string>>;

struct Request {
    std::string line; // "GET /config.json HTTP/1.1"
    std::string head; // all bytes up to and including the empty line
    Headers headers;  // names and values as sent, in order
    std::string body; // as many bytes as Content-Length says

    // Of the first header with that name, upper and lower case being the same.
    std::optional<std::string> header(std::string_view name) const;
};

// The line and the headers of a head; absent when it is none.
std::optional<Request> parseHead(std::string_view head);

// What follows the answer.
enum class Ending {
    kKeepConnection,
    kClose, // orderly: end of file
    kReset, // the peer sees the connection reset
    kStall, // nothing comes until the server goes
};

// An answer. The fields after `body` are for what a decent server would not do.
struct Reply {
    int status = 200;
    Headers headers = {}; // in this order; Content-Length follows them
    std::string body = {};

    // Instead of `body`: that many bytes, the same in every run, made while they are sent.
    std::optional<std::uint64_t> generated = {};
    // Instead of `body`: what this file holds, read while it is sent.
    std::optional<std::string> file = {};
    // Instead of the true length; empty: no such header, so that only the end of the connection ends the body.
    std::optional<std::string> contentLength = {};
    // Instead of everything above: these bytes.
    std::optional<std::string> raw = {};
    // Of what is sent, head included, only so many bytes; then `ending`.
    std::optional<std::uint64_t> cutAfter = {};
    // Before each byte that follows the head.
    std::chrono::milliseconds pause = std::chrono::milliseconds(0);
    // Before anything of the answer.
    std::chrono::milliseconds delay = std::chrono::milliseconds(0);
    // No faster than this; 0: as fast as can be.
    std::uint64_t bytesPerSecond = 0;
    Ending ending = Ending::kKeepConnection;
    // After the head the connection is joined to this port of 127.0.0.1, as a proxy does.
    std::optional<std::uint16_t> tunnelTo = {};
};

Reply replyWith(std::string body, std::string contentType = "application/octet-stream");
Reply replyWithStatus(int status, std::string body = {});
Reply redirectTo(std::string location, int status = 302);

// The bytes that go out before the body.
std::string headOf(const Reply& reply);

// What `Reply::generated` sends: `length` bytes from `offset` on.
std::string generatedBytes(std::uint64_t offset, std::size_t length);

} // namespace loopback
