#include "tools/faults/FaultyServer.h"

#include "tools/faults/ReplyFaults.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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

namespace {

// Its own, and the one that clients reach through a proxy.
const std::string kNames = std::string(loopback::kLoopbackNames) + ",DNS:" + kBehindProxy;

loopback::TlsUse tlsUseOf(TlsFault fault) {
    switch (fault) {
    case TlsFault::kOldVersionOnly:
        return loopback::TlsUse::kOldOnly;
    case TlsFault::kWantsCertificate:
        return loopback::TlsUse::kWantsCertificate;
    case TlsFault::kNoFarewell:
        return loopback::TlsUse::kNoFarewell;
    default:
        return loopback::TlsUse::kUsual;
    }
}

} // namespace

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
    const bool leadsToSix = std::ranges::any_of(
        options_.faults, [](const ChosenFault& fault) { return fault.scenario->name.starts_with("ipv6"); });
    if (leadsToSix) {
        listenOnSix();
    }
    acceptor_ = std::thread([this] { acceptConnections(listener_); });
}

void FaultyServer::listenOnSix() {
    loopback::BoundSocket bound = loopback::bindToPort(0, loopback::Family::kSix);
    sixListener_ = std::move(bound.socket);
    sixPort_ = bound.port;
    if (::listen(sixListener_.get(), SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "the port of ::1 cannot be listened to");
    }
    sixAcceptor_ = std::thread([this] { acceptConnections(sixListener_); });
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
    if (sixAcceptor_.joinable()) {
        ::shutdown(sixListener_.get(), SHUT_RDWR);
        sixAcceptor_.join();
    }
    for (Worker& worker : workers_) {
        worker.thread.join();
    }
}

std::string FaultyServer::authority() const {
    return options_.hasTls ? trusted_.certificate() : std::string();
}

std::unique_ptr<loopback::TlsContext> FaultyServer::makeTls(TlsFault fault) const {
    using namespace std::chrono_literals;
    const std::string names = fault == TlsFault::kOtherHost ? "DNS:elsewhere.invalid" : kNames;
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
    return std::make_unique<loopback::TlsContext>(identity, tlsUseOf(fault));
}

Answers FaultyServer::answers() const {
    Answers answers = options_.good(base_);
    for (const ChosenFault& fault : options_.faults) {
        apply(fault, answers, context());
    }
    std::string& document = answers.configuration.body;
    const std::pair<Target, const char*> inDocument[] = {{Target::kImage, kImagePath},
                                                         {Target::kAnalytics, kAnalyticsPath}};
    for (const auto& [target, path] : inDocument) {
        const std::string here = base_ + path;
        const std::string& place = answers.places.at(static_cast<std::size_t>(target));
        const std::size_t at = document.find(here);
        if (!place.empty() && at != std::string::npos) {
            document.replace(at, here.size(), place + path);
        }
    }
    return answers;
}

Context FaultyServer::context() const {
    return {base_,
            refusing_.address(""),
            "http://[::1]:" + std::to_string(sixPort_),
            "http://localhost:" + std::to_string(sixPort_),
            {}};
}

std::string FaultyServer::address(Target target) const {
    const char* const path = target == Target::kConfiguration ? kConfigPath
                             : target == Target::kImage       ? kImagePath
                                                              : kAnalyticsPath;
    const std::string place = answers().places.at(static_cast<std::size_t>(target));
    return (place.empty() ? base_ : place) + path;
}

void FaultyServer::acceptConnections(const base::Descriptor& listener) {
    while (true) {
        base::Descriptor socket(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
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
    // A client may take what comes sooner than its greeting for a failure to connect.
    const bool isInsteadOfTls =
        tlsFault_ == TlsFault::kGarbage || tlsFault_ == TlsFault::kReset || tlsFault_ == TlsFault::kClose;
    if (isInsteadOfTls) {
        connection.awaitBytes();
    }
    switch (tlsFault_) {
    case TlsFault::kGarbage:
        instead.raw = loopback::generatedBytes(0, 500);
        instead.ending = Ending::kClose;
        break;
    case TlsFault::kReset:
        resetAtOnce(instead);
        break;
    case TlsFault::kClose:
        closeAtOnce(instead);
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
    const std::string method = request.line.substr(0, first);
    const std::string target = request.line.substr(first + 1, second - first - 1);
    const Answers given = answers();
    const std::size_t host = target.find("://");
    Reply reply;
    if (method == "CONNECT" || (host != std::string::npos && given.proxied)) {
        reply = replyAsProxy(method, given);
    } else {
        // A proxy is asked for a whole address.
        const std::size_t begin = host == std::string::npos ? 0 : target.find('/', host + 3);
        const std::string path = target.substr(std::min(begin, target.size()));
        reply = route(method, path.substr(0, path.find('?')), given, request);
    }
    reply.delay += options_.latency;
    if (options_.bytesPerSecond != 0 && reply.bytesPerSecond == 0) {
        reply.bytesPerSecond = options_.bytesPerSecond;
    }
    return reply;
}

Reply FaultyServer::replyAsProxy(const std::string& method, const Answers& answers) const {
    if (method != "CONNECT") {
        return *answers.proxied;
    }
    Reply tunnel;
    tunnel.tunnelTo = options_.tunnelPort.value_or(port_);
    return answers.tunnel.value_or(tunnel);
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
