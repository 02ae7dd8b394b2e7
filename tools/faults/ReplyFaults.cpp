#include "tools/faults/ReplyFaults.h"

#include <charconv>
#include <chrono>
#include <fstream>
#include <iterator>

namespace faults {

using loopback::Ending;
using loopback::Reply;

namespace {

std::string bodyOf(const Reply& reply) {
    if (!reply.file) {
        return reply.body;
    }
    std::ifstream file(*reply.file, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t sizeOf(const Reply& reply) {
    return loopback::headOf(reply).size() + bodyOf(reply).size();
}

} // namespace

long numberOf(const std::string& value) {
    long number = 0;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return number;
}

void holdBody(Reply& reply) {
    setBody(reply, bodyOf(reply));
}

void setBody(Reply& reply, std::string bytes) {
    reply.file.reset();
    reply.body = std::move(bytes);
}

void delayBy(Reply& reply, const std::string& seconds) {
    reply.delay = std::chrono::seconds(numberOf(seconds));
}

void stall(Reply& reply) {
    reply.cutAfter = 0;
    reply.ending = Ending::kStall;
}

void closeAtOnce(Reply& reply) {
    reply.cutAfter = 0;
    reply.ending = Ending::kClose;
}

void resetAtOnce(Reply& reply) {
    reply.cutAfter = 0;
    reply.ending = Ending::kReset;
}

void closeInHead(Reply& reply) {
    reply.cutAfter = loopback::headOf(reply).size() / 2;
    reply.ending = Ending::kClose;
}

void endInBody(Reply& reply, Ending ending) {
    const std::uint64_t head = loopback::headOf(reply).size();
    reply.cutAfter = head + (sizeOf(reply) - head) / 2;
    reply.ending = ending;
}

void setHeader(Reply& reply, std::string_view name, std::string value) {
    std::erase_if(reply.headers, [&](const auto& header) { return header.first == name; });
    reply.headers.emplace_back(name, std::move(value));
}

void sendInPieces(Reply& reply, bool isBroken) {
    const std::string body = bodyOf(reply);
    constexpr std::size_t kPiece = 65536;
    reply.contentLength = "";
    reply.file.reset();
    setHeader(reply, "Transfer-Encoding", "chunked");
    std::string pieces = loopback::headOf(reply);
    for (std::size_t at = 0; at < body.size(); at += kPiece) {
        const std::string piece = body.substr(at, kPiece);
        char length[20] = "";
        *std::to_chars(length, length + sizeof length - 1, piece.size(), 16).ptr = '\0';
        pieces.append(length).append("\r\n").append(piece).append("\r\n");
    }
    reply.raw = pieces + (isBroken ? "zz\r\n" : "0\r\n\r\n");
    reply.ending = isBroken ? Ending::kClose : Ending::kKeepConnection;
}

void floodHead(Reply& reply, std::size_t bytes) {
    constexpr std::size_t kEach = 1000;
    for (std::size_t sent = 0; sent < bytes; sent += kEach) {
        reply.headers.emplace_back("X-Flood-" + std::to_string(sent), std::string(kEach, 'x'));
    }
}

} // namespace faults
