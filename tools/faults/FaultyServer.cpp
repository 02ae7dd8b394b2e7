#include "tools/faults/FaultyServer.h"

#include "tools/faults/ReplyFaults.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <utility>

namespace faults {

using loopback::Connection;
using loopback::Ending;
using loopback::Reply;
using loopback::Request;

FaultyServer::FaultyServer(Options options) : options_(std::move(options)) {
    std::signal(SIGPIPE, SIG_IGN); // of clients that go: OpenSSL writes without MSG_NOSIGNAL
    loopback::BoundSocket bound = loopback::bindToPort(options_.port);
    listener_ = std::move(bound.socket);
    port_ = bound.port;
    base_ = loopback::addressOf(options_.hasTls ? "https" : "http", port_, "");
    tlsFault_ = answers().tls;
    tls_ = options_.hasTls ? makeTls(tlsFault_) : nullptr;
    if (::listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "the port cannot be listened to");
    }
    acceptor_ = std::thread([this] { acceptConnections(); });
}

FaultyServer::~FaultyServer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (Connection& connection : connections_) {
            connection.stop();
        }
    }
    ::shutdown(listener_.get(), SHUT_RDWR); // wakes the acceptor
    acceptor_.join();
    for (Worker& worker : workers_) {
        worker.thread.join();
    }
}

std::string FaultyServer::authority() const {
    return options_.hasTls ? trusted_.certificate() : std::string();
}

std::unique_ptr<loopback::TlsContext> FaultyServer::makeTls(TlsFault fault) const {
    using namespace std::chrono_literals;
    const std::string names = fault == TlsFault::kOtherHost ? "DNS:elsewhere.invalid" : loopback::kLoopbackNames;
    const loopback::Authority& authority = fault == TlsFault::kUnknownAuthority ? unknown_ : trusted_;
    loopback::Validity validity;
    if (fault == TlsFault::kExpired) {
        validity = {-48h, -24h};
    } else if (fault == TlsFault::kNotYetValid) {
        validity = {24h, 48h};
    }
    const loopback::TlsIdentity identity =
        fault == TlsFault::kSelfSigned ? loopback::makeSelfSignedIdentity()
                                       : authority.identity(names, validity, fault != TlsFault::kMissingIntermediate);
    return std::make_unique<loopback::TlsContext>(
        identity, fault == TlsFault::kOldVersionOnly ? loopback::TlsVersions::kOldOnly : loopback::TlsVersions::kUsual);
}

Answers FaultyServer::answers() const {
    Answers answers = options_.good(base_);
    for (const ChosenFault& fault : options_.faults) {
        fault.scenario->apply(answers, {base_, refusing_.address(""), fault.value});
    }
    return answers;
}

void FaultyServer::acceptConnections() {
    while (true) {
        base::Descriptor socket(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const std::lock_guard lock(mutex_);
        if (stopping_) {
            return;
        }
        if (!socket) {
            continue; // a connection that went before it was taken
        }
        joinEnded();
        Connection& connection = connections_.emplace_back(std::move(socket));
        Worker& worker = workers_.emplace_back();
        worker.thread = std::thread([this, &connection, &worker] {
            serveConnection(connection);
            worker.hasEnded = true;
        });
    }
}

// Whether requests can be read; else the connection has had its end.
bool FaultyServer::begin(Connection& connection) const {
    Reply instead;
    switch (tlsFault_) {
    case TlsFault::kGarbage:
        instead.raw = loopback::generatedBytes(0, 500);
        instead.ending = Ending::kClose;
        break;
    case TlsFault::kReset:
        resetAtOnce(instead);
        break;
    case TlsFault::kStall:
        stall(instead);
        break;
    case TlsFault::kPlain:
        return true;
    default:
        return connection.startTls(tls_.get());
    }
    static_cast<void>(connection.send(instead));
    return false;
}

void FaultyServer::serveConnection(Connection& connection) {
    try {
        auto request = begin(connection) ? connection.readRequest() : std::nullopt;
        while (request) {
            const Reply reply = replyTo(*request);
            if (options_.seen) {
                options_.seen(*request, reply.status);
            }
            request = connection.send(reply) ? connection.readRequest() : std::nullopt;
        }
    } catch (const std::exception&) {
        // Whoever watches the requests has told why; the client sees the connection end.
    }
    const std::lock_guard lock(mutex_);
    connections_.remove_if([&](const Connection& candidate) { return &candidate == &connection; });
}

// With the lock held.
void FaultyServer::joinEnded() {
    for (auto worker = workers_.begin(); worker != workers_.end();) {
        if (worker->hasEnded) {
            worker->thread.join();
            worker = workers_.erase(worker);
        } else {
            ++worker;
        }
    }
}

Reply FaultyServer::replyTo(const Request& request) const {
    const std::size_t first = request.line.find(' ');
    const std::size_t second = request.line.find(' ', first + 1);
    const std::string target = request.line.substr(first + 1, second - first - 1);
    const std::string path = target.substr(0, target.find('?'));
    Reply reply = route(request.line.substr(0, first), path, answers(), request);
    reply.delay += options_.latency;
    if (options_.bytesPerSecond != 0 && reply.bytesPerSecond == 0) {
        reply.bytesPerSecond = options_.bytesPerSecond;
    }
    return reply;
}

Reply FaultyServer::route(const std::string& method, const std::string& path, const Answers& answers,
                          const Request& request) const {
    if (path == kAnalyticsPath) {
        return method == "POST" ? answers.analytics : loopback::replyWithStatus(405, "lines are posted here");
    }
    if (path == kConfigPath) {
        return answers.configuration;
    }
    if (path == kImagePath) {
        return answers.image;
    }
    if (const auto known = answers.more.find(path); known != answers.more.end()) {
        return known->second;
    }
    const auto other = options_.others ? options_.others(request) : std::nullopt;
    return other.value_or(loopback::replyWithStatus(404, "the portal has nothing here"));
}

} // namespace faults
