#pragma once

#include "base/Descriptor.h"
#include "tools/loopback/Reply.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

struct ssl_st;
struct ssl_ctx_st;

namespace loopback {

struct TlsIdentity;

enum class TlsUse {
    kUsual,
    kOldOnly,          // TLS 1.1 and nothing newer
    kWantsCertificate, // no client without one
    kNoFarewell,       // connections end without TLS's own goodbye
};

// What all connections of a server that speaks TLS share.
class TlsContext {
public:
    // Throws std::runtime_error when the identity is none.
    explicit TlsContext(const TlsIdentity& identity, TlsUse use = TlsUse::kUsual);
    ~TlsContext();
    TlsContext(const TlsContext&) = delete;
    TlsContext& operator=(const TlsContext&) = delete;

    ssl_ctx_st* get() const { return context_; }
    bool saysFarewell() const { return use_ != TlsUse::kNoFarewell; }

private:
    ssl_ctx_st* context_;
    TlsUse use_;
};

// One accepted connection. All functions but stop() belong to the connection's own thread.
class Connection {
public:
    explicit Connection(base::Descriptor socket) : socket_(std::move(socket)) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Plain without a context. False when the peer does not accept us.
    bool startTls(const TlsContext* context);
    // Until the peer has sent something, or is gone.
    void awaitBytes() const;
    // Absent at the end of the connection, and for what is no request.
    std::optional<Request> readRequest();
    // False when the connection is over.
    bool send(const Reply& reply);
    // From any thread, while the connection exists: wakes whatever waits in the functions above and ends it.
    void stop();

private:
    bool fill();
    bool write(std::string_view bytes);
    bool writeAtOnce(std::string_view bytes);
    bool waitFor(std::chrono::milliseconds time);
    bool sendBody(const Reply& reply, std::uint64_t allowed);
    bool sendFile(const std::string& path, std::uint64_t allowed);
    bool sendSlowly(std::string_view bytes, std::chrono::milliseconds pause);
    bool end(Ending ending);
    void waitForStop();
    void tunnelTo(std::uint16_t port);

    base::Descriptor socket_;
    ssl_st* ssl_ = nullptr;
    bool saysFarewell_ = true;
    std::string unread_;
    std::uint64_t bytesPerSecond_ = 0; // of the present answer
    std::atomic<bool> stopped_ = false;
};

} // namespace loopback
