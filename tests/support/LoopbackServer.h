#pragma once

#include "base/Descriptor.h"
#include "tools/loopback/Ports.h"
#include "tools/loopback/Reply.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace loopback {

class Connection;
class TlsContext;
struct TlsIdentity;

// A strict HTTP/1.1 server on 127.0.0.1 for tests. Requests must come in the order of the expectations, whichever
// connection they use; one that was not expected, and an expectation that is not met before the server goes, fail the
// test that is running. Everything is recorded as it came over the wire: a library's server would sort the headers and
// could not break off in the middle of an answer.
//
// Threads: one for accepting and one for each connection; all functions may be called from any thread. Needs neither Qt
// nor a main loop.
class LoopbackServer {
public:
    // Listens on a free port when constructed. With an identity it speaks TLS.
    LoopbackServer();
    explicit LoopbackServer(const TlsIdentity& identity);
    // Ends all connections, then reports what verify() would.
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::uint16_t port() const { return port_; }
    // "http://127.0.0.1:PORT" + path, or https.
    std::string address(std::string_view path = "/") const;

    // The next request must be this one: method and target, such as "GET /config.json". A proxy's targets are absolute
    // addresses ("GET http://host/path") or "CONNECT host:443".
    void expect(std::string methodAndTarget, Reply reply);
    // For a server that stands behind many requests, such as a benchmark's: any number of these, in any order, after
    // which expectations no longer count.
    void serve(std::string methodAndTarget, Reply reply);

    // What came so far, in order.
    std::vector<Request> requests() const;
    // False when the limit passed first.
    bool waitForRequests(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(10)) const;
    // Connections that were accepted so far, also those on which no request came.
    std::size_t connections() const;

    // What is wrong so far: unexpected requests, and expectations that are not met. Forgets them: what is taken here is
    // not reported again.
    std::vector<std::string> takeProblems();
    // Reports each problem as a failure of the running test.
    void verify();

private:
    struct Expectation {
        std::string methodAndTarget;
        Reply reply;
    };

    void listen();
    void acceptConnections();
    void serveConnection(Connection& connection);
    Reply replyTo(const Request& request);
    void stop();

    std::unique_ptr<TlsContext> tls_;
    base::Descriptor listener_;
    std::uint16_t port_ = 0;
    std::thread acceptor_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::deque<Expectation> expectations_;
    std::vector<Expectation> served_;
    std::vector<Request> requests_;
    std::vector<std::string> problems_;
    std::list<Connection> connectionList_;
    std::list<std::thread> threads_;
    bool stopping_ = false;
};

// A port of 127.0.0.1 that lets whoever connects wait: nobody accepts, and its queue is full.
class BusyPort {
public:
    BusyPort();

    std::uint16_t port() const { return port_; }
    std::string address(std::string_view path = "/") const;

private:
    base::Descriptor socket_;
    std::uint16_t port_ = 0;
    std::vector<base::Descriptor> waiting_;
};

} // namespace loopback
