#pragma once

#include "base/Descriptor.h"
#include "tools/faults/Scenario.h"
#include "tools/loopback/Certificate.h"
#include "tools/loopback/Connection.h"
#include "tools/loopback/Ports.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace faults {

inline constexpr const char* kConfigPath = "/config.json";
inline constexpr const char* kImagePath = "/download/Installer.dmg";
inline constexpr const char* kAnalyticsPath = "/analytics";

// A portal on 127.0.0.1 that does what it should, but for the faults that were chosen.
//
// Threads: one for accepting and one for each connection; the functions of `Options` are called on those, several at
// once. All functions of the server may be called from any thread.
class FaultyServer {
public:
    struct Options {
        std::uint16_t port = 0; // 0: any free one
        bool hasTls = false;
        std::vector<ChosenFault> faults;
        std::chrono::milliseconds latency{0}; // before each answer
        std::uint64_t bytesPerSecond = 0;     // of each connection; 0: no limit
        // What a good portal at this address answers. Asked anew for each request.
        std::function<Answers(const std::string& base)> good;
        // For every other path; absent: 404.
        std::function<std::optional<loopback::Reply>(const loopback::Request&)> others;
        std::optional<std::uint16_t> tunnelPort; // where tunnels of clients that take it for their proxy lead; here
        // Called before the answer is sent. What it throws ends the connection without one.
        std::function<void(const loopback::Request&, int status)> seen;
    };

    // Listens when constructed. Throws std::system_error when the port cannot be had.
    explicit FaultyServer(Options options);
    // Ends all connections.
    ~FaultyServer();
    FaultyServer(const FaultyServer&) = delete;
    FaultyServer& operator=(const FaultyServer&) = delete;

    std::uint16_t port() const { return port_; }
    const std::string& base() const { return base_; } // "http://127.0.0.1:PORT" or https
    // Where a client has to ask for it, which is elsewhere with some faults.
    std::string address(Target target) const;
    // What a client must trust, as PEM; empty without TLS.
    std::string authority() const;

private:
    struct Worker {
        std::thread thread;
        std::atomic<bool> hasEnded = false;
    };

    Answers answers() const;
    Context context() const;
    std::unique_ptr<loopback::TlsContext> makeTls(TlsFault fault) const;
    void listenOnSix();
    void acceptConnections(const base::Descriptor& listener);
    void serveConnection(loopback::Connection& connection);
    void joinEnded();
    bool begin(loopback::Connection& connection) const;
    loopback::Reply replyTo(const loopback::Request& request) const;
    loopback::Reply replyAsProxy(const std::string& method, const Answers& answers) const;
    loopback::Reply route(const std::string& method, const std::string& path, const Answers& answers,
                          const loopback::Request& request) const;

    Options options_;
    loopback::RefusingPort refusing_;
    loopback::Authority trusted_;
    loopback::Authority unknown_;
    base::Descriptor listener_;
    std::uint16_t port_ = 0;
    std::string base_;
    TlsFault tlsFault_ = TlsFault::kNone;
    std::unique_ptr<loopback::TlsContext> tls_;
    std::thread acceptor_;
    base::Descriptor sixListener_; // only where a fault leads there
    std::uint16_t sixPort_ = 0;
    std::thread sixAcceptor_;
    std::mutex mutex_;
    std::list<loopback::Connection> connections_;
    std::list<Worker> workers_;
    bool stopping_ = false;
};

} // namespace faults
