#include "tools/faults/ReplyFaults.h"
#include "tools/faults/Scenario.h"

#include <zlib.h>

#include <array>
#include <stdexcept>

namespace faults {

using loopback::Reply;

namespace {

using A = Answers&;
using T = Target;
using C = const Context&;

// The windows' sizes by which zlib tells the formats apart.
constexpr int kGzip = 15 + 16;
constexpr int kZlib = 15;
constexpr int kRaw = -15;

std::string packed(const std::string& bytes, int format) {
    z_stream stream{};
    constexpr int kUsualMemory = 8;
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, format, kUsualMemory, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("zlib cannot begin");
    }
    std::string out(deflateBound(&stream, bytes.size()), '\0');
    std::string in = bytes;
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

void encode(Reply& reply, const char* name, std::string body) {
    reply.file.reset();
    reply.body = std::move(body);
    setHeader(reply, "Content-Encoding", name);
}

std::string gzipped(Reply& reply) {
    holdBody(reply);
    return packed(reply.body, kGzip);
}

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

constexpr std::array kFaults{
    ofEach("empty", "an empty body", "", [](A a, T t, C) { setBody(a.of(t), ""); }),
    ofEach("noise", "bytes that mean nothing", "",
           [](A a, T t, C) { setBody(a.of(t), loopback::generatedBytes(0, 70000)); }),
    ofEach("page", "a network's page to sign in", "",
           [](A a, T t, C) {
               setBody(a.of(t), "<!DOCTYPE html><title>Sign in to the network</title>\n");
               setHeader(a.of(t), "Content-Type", "text/html");
           }),
    ofEach("cut", "the second half is missing, and the length agrees", "",
           [](A a, T t, C) {
               holdBody(a.of(t));
               a.of(t).body.resize(a.of(t).body.size() / 2);
           }),
    ofEach("large", "so many MiB", "8",
           [](A a, T t, C c) {
               a.of(t).file.reset();
               a.of(t).generated = static_cast<std::uint64_t>(numberOf(c.value)) * kMebibyte;
           }),
    ofEach("gzip", "the body as gzip", "", [](A a, T t, C) { encode(a.of(t), "gzip", gzipped(a.of(t))); }),
    ofEach("deflate", "the body as zlib", "",
           [](A a, T t, C) {
               holdBody(a.of(t));
               encode(a.of(t), "deflate", packed(a.of(t).body, kZlib));
           }),
    ofEach("deflate-raw", "the body as deflate without zlib's head, as some servers do", "",
           [](A a, T t, C) {
               holdBody(a.of(t));
               encode(a.of(t), "deflate", packed(a.of(t).body, kRaw));
           }),
    ofEach("gzip-twice", "gzip in gzip, as the head says", "",
           [](A a, T t, C) { encode(a.of(t), "gzip, gzip", packed(gzipped(a.of(t)), kGzip)); }),
    ofEach("gzip-none", "gzip is said, but the body is plain", "",
           [](A a, T t, C) { setHeader(a.of(t), "Content-Encoding", "gzip"); }),
    ofEach("gzip-cut", "gzip that breaks off", "",
           [](A a, T t, C) {
               std::string bytes = gzipped(a.of(t));
               bytes.resize(bytes.size() / 2);
               encode(a.of(t), "gzip", bytes);
           }),
    ofEach("gzip-damaged", "gzip with another byte in its middle", "",
           [](A a, T t, C) {
               std::string bytes = gzipped(a.of(t));
               bytes.at(bytes.size() / 2) ^= 0x55;
               encode(a.of(t), "gzip", bytes);
           }),
    ofEach("gzip-wrong-sum", "gzip whose checksum does not agree", "",
           [](A a, T t, C) {
               std::string bytes = gzipped(a.of(t));
               bytes.at(bytes.size() - 8) ^= 1;
               encode(a.of(t), "gzip", bytes);
           }),
    ofEach("gzip-bomb", "a small gzip of so many MiB", "64",
           [](A a, T t, C c) {
               const auto size = static_cast<std::size_t>(numberOf(c.value)) * kMebibyte;
               encode(a.of(t), "gzip", packed(std::string(size, ' '), kGzip));
           }),
    ofEach("brotli-none", "brotli is said, but the body is plain", "",
           [](A a, T t, C) { setHeader(a.of(t), "Content-Encoding", "br"); }),
    ofEach("deflate-none", "deflate is said, but the body is plain", "",
           [](A a, T t, C) { setHeader(a.of(t), "Content-Encoding", "deflate"); }),
    ofEach("encoding-unknown", "an encoding that nobody asked for", "",
           [](A a, T t, C) { setHeader(a.of(t), "Content-Encoding", "compress-o-mat"); }),
    ofEach("encoding-identity", "Content-Encoding: identity", "",
           [](A a, T t, C) { setHeader(a.of(t), "Content-Encoding", "identity"); }),
};

} // namespace

std::span<const Scenario> bodyFaults() {
    return kFaults;
}

} // namespace faults
