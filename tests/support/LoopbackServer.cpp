#include "tests/support/LoopbackServer.h"

#include "tools/loopback/Certificate.h"
#include "tools/loopback/Connection.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace loopback {

namespace {

std::string methodAndTargetOf(const Request& request) {
    return request.line.substr(0, request.line.rfind(' '));
}

// The TLS library writes without MSG_NOSIGNAL; a client that goes away must not end the test program.
void blockBrokenPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

LoopbackServer::LoopbackServer() {
    listen();
}

LoopbackServer::LoopbackServer(const TlsIdentity& identity) : tls_(std::make_unique<TlsContext>(identity)) {
    listen();
}

LoopbackServer::~LoopbackServer() {
    stop();
    verify();
}

void LoopbackServer::listen() {
    auto bound = bindToPort(0);
    listener_ = std::move(bound.socket);
    port_ = bound.port;
    if (::listen(listener_.get(), SOMAXCONN) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot listen");
    }
    acceptor_ = std::thread([this] { acceptConnections(); });
}

void LoopbackServer::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (auto& connection : connectionList_) {
            connection.stop();
        }
    }
    shutdown(listener_.get(), SHUT_RDWR);
    acceptor_.join();
    for (auto& thread : threads_) {
        thread.join();
    }
    listener_.reset();
}

std::string LoopbackServer::address(std::string_view path) const {
    return addressOf(tls_ ? "https" : "http", port_, path);
}

void LoopbackServer::expect(std::string methodAndTarget, Reply reply) {
    const std::lock_guard lock(mutex_);
    expectations_.push_back({std::move(methodAndTarget), std::move(reply)});
}

void LoopbackServer::serve(std::string methodAndTarget, Reply reply) {
    const std::lock_guard lock(mutex_);
    served_.push_back({std::move(methodAndTarget), std::move(reply)});
}

std::vector<Request> LoopbackServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

bool LoopbackServer::waitForRequests(std::size_t count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return requests_.size() >= count; });
}

std::size_t LoopbackServer::connections() const {
    const std::lock_guard lock(mutex_);
    return threads_.size();
}

std::vector<std::string> LoopbackServer::takeProblems() {
    const std::lock_guard lock(mutex_);
    auto problems = std::exchange(problems_, {});
    for (const auto& expectation : expectations_) {
        problems.push_back("expected but not requested: " + expectation.methodAndTarget);
    }
    expectations_.clear();
    return problems;
}

void LoopbackServer::verify() {
    for (const auto& problem : takeProblems()) {
        ADD_FAILURE() << "loopback server: " << problem;
    }
}

void LoopbackServer::acceptConnections() {
    blockBrokenPipeSignal();
    while (true) {
        base::Descriptor accepted(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const std::lock_guard lock(mutex_);
        if (stopping_ || !accepted) {
            return;
        }
        auto& connection = connectionList_.emplace_back(std::move(accepted));
        threads_.emplace_back([this, &connection] { serveConnection(connection); });
    }
}

void LoopbackServer::serveConnection(Connection& connection) {
    if (connection.startTls(tls_.get())) {
        auto request = connection.readRequest();
        while (request && connection.send(replyTo(*request))) {
            request = connection.readRequest();
        }
    }
    const std::lock_guard lock(mutex_);
    connectionList_.remove_if([&](const Connection& candidate) { return &candidate == &connection; });
}

Reply LoopbackServer::replyTo(const Request& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    changed_.notify_all();
    const auto asked = methodAndTargetOf(request);
    if (!expectations_.empty() && expectations_.front().methodAndTarget == asked) {
        auto reply = std::move(expectations_.front().reply);
        expectations_.pop_front();
        return reply;
    }
    for (const auto& expectation : served_) {
        if (expectation.methodAndTarget == asked) {
            return expectation.reply;
        }
    }
    problems_.push_back("requested but not expected" +
                        (expectations_.empty() ? std::string() : " before " + expectations_.front().methodAndTarget) +
                        ": " + request.line);
    auto reply = replyWithStatus(500, "not expected");
    reply.ending = Ending::kClose;
    return reply;
}

BusyPort::BusyPort() {
    auto bound = bindToPort(0);
    socket_ = std::move(bound.socket);
    port_ = bound.port;
    ::listen(socket_.get(), 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    constexpr int kMoreThanTheQueueHolds = 4;
    for (int i = 0; i < kMoreThanTheQueueHolds; ++i) {
        waiting_.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        // The first ones connect, the others keep trying; neither matters.
        static_cast<void>(connect(waiting_.back().get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }
}

std::string BusyPort::address(std::string_view path) const {
    return addressOf("http", port_, path);
}

} // namespace loopback
