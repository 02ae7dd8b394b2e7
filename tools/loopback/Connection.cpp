#include "tools/loopback/Connection.h"

#include "tools/loopback/Certificate.h"

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <stdexcept>

namespace loopback {

namespace {

constexpr std::size_t kBlock = std::size_t{256} * 1024;
constexpr std::size_t kLargestHead = std::size_t{256} * 1024;
constexpr std::size_t kLargestBody = std::size_t{256} * 1024 * 1024;

struct BioFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct CertificateFree {
    void operator()(X509* certificate) const { X509_free(certificate); }
};

std::unique_ptr<BIO, BioFree> reader(const std::string& text) {
    return std::unique_ptr<BIO, BioFree>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

bool hasInput(int socket, std::chrono::milliseconds limit) {
    pollfd waiting{socket, POLLIN, 0};
    return poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

// Moves what has come to the other side; false at the end of either.
bool pass(int from, int to) {
    std::array<char, 16384> bytes;
    const auto count = recv(from, bytes.data(), bytes.size(), 0);
    return count > 0 && ::send(to, bytes.data(), static_cast<std::size_t>(count), MSG_NOSIGNAL) == count;
}

} // namespace

TlsContext::TlsContext(const TlsIdentity& identity, TlsUse use)
    : context_(SSL_CTX_new(TLS_server_method())), use_(use) {
    const auto certificates = reader(identity.certificate);
    const auto next = [&] {
        return std::unique_ptr<X509, CertificateFree>(PEM_read_bio_X509(certificates.get(), nullptr, nullptr, nullptr));
    };
    const auto certificate = next();
    const std::unique_ptr<EVP_PKEY, KeyFree> key(
        PEM_read_bio_PrivateKey(reader(identity.key).get(), nullptr, nullptr, nullptr));
    if (SSL_CTX_use_certificate(context_, certificate.get()) != 1 || SSL_CTX_use_PrivateKey(context_, key.get()) != 1) {
        SSL_CTX_free(context_);
        throw std::runtime_error("the certificate and the key do not fit");
    }
    while (const auto issuer = next()) {
        SSL_CTX_add1_chain_cert(context_, issuer.get());
    }
    ERR_clear_error(); // of the end of the text
    if (use == TlsUse::kOldOnly) {
        // The library would not speak it by itself.
        SSL_CTX_set_cipher_list(context_, "ALL:@SECLEVEL=0");
        SSL_CTX_set_min_proto_version(context_, TLS1_1_VERSION);
        SSL_CTX_set_max_proto_version(context_, TLS1_1_VERSION);
    }
    if (use == TlsUse::kWantsCertificate) {
        SSL_CTX_set_verify(context_, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
    }
}

TlsContext::~TlsContext() {
    SSL_CTX_free(context_);
}

Connection::~Connection() {
    SSL_free(ssl_);
}

bool Connection::startTls(const TlsContext* context) {
    if (!context) {
        return true;
    }
    ssl_ = SSL_new(context->get());
    SSL_set_fd(ssl_, socket_.get());
    saysFarewell_ = context->saysFarewell();
    return SSL_accept(ssl_) == 1;
}

void Connection::awaitBytes() const {
    pollfd waiting{socket_.get(), POLLIN, 0};
    poll(&waiting, 1, -1);
}

void Connection::stop() {
    stopped_ = true;
    shutdown(socket_.get(), SHUT_RDWR);
}

bool Connection::fill() {
    std::array<char, 16384> bytes;
    const auto count = ssl_ ? SSL_read(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                            : static_cast<int>(recv(socket_.get(), bytes.data(), bytes.size(), 0));
    if (count <= 0) {
        return false;
    }
    unread_.append(bytes.data(), static_cast<std::size_t>(count));
    return true;
}

std::optional<Request> Connection::readRequest() {
    std::size_t end = std::string::npos;
    // What does not begin with a method may never end: a TLS greeting, for one.
    const auto isNoRequest = [&] {
        return unread_.size() > kLargestHead || (!unread_.empty() && (unread_[0] < 'A' || unread_[0] > 'Z'));
    };
    while ((end = unread_.find("\r\n\r\n")) == std::string::npos) {
        if (isNoRequest() || !fill()) {
            return std::nullopt;
        }
    }
    auto request = parseHead(std::string_view(unread_).substr(0, end + 4));
    unread_.erase(0, end + 4);
    if (!request) {
        return std::nullopt;
    }
    const auto stated = request->header("Content-Length").value_or("0");
    std::size_t length = 0;
    std::from_chars(stated.data(), stated.data() + stated.size(), length);
    while (unread_.size() < length) {
        if (length > kLargestBody || !fill()) {
            return std::nullopt;
        }
    }
    request->body = unread_.substr(0, length);
    unread_.erase(0, length);
    return request;
}

// False when the server stops meanwhile, or the peer goes.
bool Connection::waitFor(std::chrono::milliseconds time) {
    return time.count() == 0 || (!hasInput(socket_.get(), time) && !stopped_);
}

bool Connection::write(std::string_view bytes) {
    constexpr std::uint64_t kPiecesPerSecond = 20;
    if (bytesPerSecond_ == 0) {
        return writeAtOnce(bytes);
    }
    const auto piece = static_cast<std::size_t>(std::max<std::uint64_t>(bytesPerSecond_ / kPiecesPerSecond, 1));
    while (!bytes.empty()) {
        if (!writeAtOnce(bytes.substr(0, piece)) || !waitFor(std::chrono::milliseconds(1000 / kPiecesPerSecond))) {
            return false;
        }
        bytes.remove_prefix(std::min(piece, bytes.size()));
    }
    return true;
}

bool Connection::writeAtOnce(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = ssl_ ? SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                                : static_cast<int>(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
        if (count <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool Connection::send(const Reply& reply) {
    bytesPerSecond_ = reply.bytesPerSecond;
    if (!waitFor(reply.delay)) {
        return false;
    }
    std::uint64_t allowed = reply.cutAfter.value_or(UINT64_MAX);
    const auto head = reply.raw ? std::string() : headOf(reply);
    if (!write(std::string_view(head).substr(0, allowed))) {
        return false;
    }
    allowed -= std::min<std::uint64_t>(allowed, head.size());
    if (reply.tunnelTo) {
        tunnelTo(*reply.tunnelTo);
        return false;
    }
    return sendBody(reply, allowed) && end(reply.ending);
}

bool Connection::sendBody(const Reply& reply, std::uint64_t allowed) {
    if (reply.file) {
        return sendFile(*reply.file, allowed);
    }
    if (!reply.generated) {
        const auto& body = reply.raw ? *reply.raw : reply.body;
        return sendSlowly(std::string_view(body).substr(0, allowed), reply.pause);
    }
    const auto length = std::min(*reply.generated, allowed);
    for (std::uint64_t offset = 0; offset < length; offset += kBlock) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(kBlock, length - offset));
        if (!sendSlowly(generatedBytes(offset, count), reply.pause)) {
            return false;
        }
    }
    return true;
}

bool Connection::sendFile(const std::string& path, std::uint64_t allowed) {
    std::ifstream file(path, std::ios::binary);
    std::string block(kBlock, '\0');
    while (file && allowed > 0) {
        file.read(block.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(block.size(), allowed)));
        const auto count = static_cast<std::uint64_t>(file.gcount());
        if (!write(std::string_view(block).substr(0, count))) {
            return false;
        }
        allowed -= count;
    }
    return true;
}

bool Connection::sendSlowly(std::string_view bytes, std::chrono::milliseconds pause) {
    if (pause.count() == 0) {
        return write(bytes);
    }
    for (const char& byte : bytes) {
        // A peer that goes away or a server that stops ends the pause at once.
        if (hasInput(socket_.get(), pause) || stopped_ || !write(std::string_view(&byte, 1))) {
            return false;
        }
    }
    return true;
}

bool Connection::end(Ending ending) {
    switch (ending) {
    case Ending::kKeepConnection:
        return true;
    case Ending::kClose:
        if (ssl_ && saysFarewell_) {
            SSL_shutdown(ssl_);
        }
        break;
    case Ending::kReset: {
        const linger atOnce{1, 0};
        setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        break;
    }
    case Ending::kStall:
        waitForStop();
        break;
    }
    return false;
}

void Connection::waitForStop() {
    // What the peer goes on saying is no end.
    std::array<char, 4096> unheard;
    bool hasEnded = false;
    while (!hasEnded) {
        const bool isThere = hasInput(socket_.get(), std::chrono::milliseconds(1000));
        hasEnded = stopped_ || (isThere && recv(socket_.get(), unheard.data(), unheard.size(), 0) <= 0);
    }
}

void Connection::tunnelTo(std::uint16_t port) {
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const base::Descriptor other(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    bool open = connect(other.get(), reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0;
    ::send(other.get(), unread_.data(), unread_.size(), MSG_NOSIGNAL);
    while (open && !stopped_) {
        std::array<pollfd, 2> ends{pollfd{socket_.get(), POLLIN, 0}, pollfd{other.get(), POLLIN, 0}};
        poll(ends.data(), ends.size(), -1);
        if (ends[0].revents != 0) {
            open = pass(socket_.get(), other.get());
        }
        if (open && ends[1].revents != 0) {
            open = pass(other.get(), socket_.get());
        }
    }
}

} // namespace loopback
