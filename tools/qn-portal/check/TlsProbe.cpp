#include "tools/qn-portal/check/TlsProbe.h"

#include "base/Descriptor.h"

#include <QTimeZone>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace portal::check {

namespace {

constexpr timeval kPatience{10, 0};

struct Free {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* ssl) const { SSL_free(ssl); }
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
template <typename Type>
using Owned = std::unique_ptr<Type, Free>;

class Socket {
public:
    Socket(const QString& host, quint16 port) {
        addrinfo hints{};
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* found = nullptr;
        if (getaddrinfo(host.toUtf8().constData(), QByteArray::number(port).constData(), &hints, &found) != 0) {
            return;
        }
        const Owned<addrinfo> list(found);
        for (const addrinfo* entry = found; entry != nullptr && !socket_; entry = entry->ai_next) {
            connectTo(*entry);
        }
    }

    int descriptor() const { return socket_.get(); }

private:
    void connectTo(const addrinfo& entry) {
        base::Descriptor fresh(::socket(entry.ai_family, entry.ai_socktype | SOCK_CLOEXEC, entry.ai_protocol));
        ::setsockopt(fresh.get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
        ::setsockopt(fresh.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
        if (::connect(fresh.get(), entry.ai_addr, entry.ai_addrlen) == 0) {
            socket_ = std::move(fresh);
        }
    }

    base::Descriptor socket_;
};

QString textOf(const X509_NAME* name) {
    char buffer[512] = "";
    X509_NAME_get_text_by_NID(name, NID_commonName, buffer, sizeof buffer);
    return buffer[0] != '\0' ? QString::fromUtf8(buffer)
                             : QString::fromUtf8(X509_NAME_oneline(name, buffer, sizeof buffer));
}

QDateTime timeOf(const ASN1_TIME* time) {
    std::tm parts{};
    ASN1_TIME_to_tm(time, &parts);
    return QDateTime::fromSecsSinceEpoch(timegm(&parts), QTimeZone::utc());
}

QStringList namesOf(const X509* certificate) {
    QStringList names;
    auto* const list =
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    for (int at = 0; at < sk_GENERAL_NAME_num(list); ++at) {
        int type = 0;
        const auto* const value =
            static_cast<const ASN1_STRING*>(GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(list, at), &type));
        const auto* const bytes = reinterpret_cast<const char*>(ASN1_STRING_get0_data(value));
        const int size = ASN1_STRING_length(value);
        if (type == GEN_DNS) {
            names += QString::fromUtf8(bytes, size);
        } else if (type == GEN_IPADD && size == 4) {
            const auto* const parts = ASN1_STRING_get0_data(value);
            names += u"%1.%2.%3.%4"_s.arg(parts[0]).arg(parts[1]).arg(parts[2]).arg(parts[3]);
        }
    }
    GENERAL_NAMES_free(list);
    return names.isEmpty() ? QStringList{textOf(X509_get_subject_name(certificate))} : names;
}

// Everything is accepted during the handshake, and judged afterwards.
Owned<SSL> connected(SSL_CTX* context, const Socket& socket, const QString& host) {
    Owned<SSL> ssl(SSL_new(context));
    SSL_set_fd(ssl.get(), socket.descriptor());
    SSL_set_tlsext_host_name(ssl.get(), host.toUtf8().constData());
    return SSL_connect(ssl.get()) == 1 ? std::move(ssl) : nullptr;
}

void judgeCertificate(TlsFacts& facts, X509* certificate) {
    facts.names = namesOf(certificate);
    facts.subject = textOf(X509_get_subject_name(certificate));
    facts.isSelfSigned = X509_self_signed(certificate, 0) == 1;
    facts.validFrom = timeOf(X509_get0_notBefore(certificate));
    facts.validUntil = timeOf(X509_get0_notAfter(certificate));
    const EVP_PKEY* const key = X509_get0_pubkey(certificate);
    facts.keyBits = EVP_PKEY_get_bits(key);
    facts.isEllipticKey = EVP_PKEY_get_base_id(key) != EVP_PKEY_RSA;
    const QByteArray host = facts.host.toUtf8();
    facts.isForHost = X509_check_host(certificate, host.constData(), 0, 0, nullptr) == 1 ||
                      X509_check_ip_asc(certificate, host.constData(), 0) == 1;
}

// Dates are looked at by themselves, so that a chain is judged as a chain.
void judgeChain(TlsFacts& facts, SSL_CTX* context, STACK_OF(X509) * chain) {
    facts.chainLength = sk_X509_num(chain);
    X509* const last = sk_X509_value(chain, sk_X509_num(chain) - 1);
    facts.lastIssuer = textOf(X509_get_issuer_name(last));
    X509_STORE_CTX* const store = X509_STORE_CTX_new();
    X509_STORE_CTX_init(store, SSL_CTX_get_cert_store(context), sk_X509_value(chain, 0), chain);
    X509_STORE_CTX_set_flags(store, X509_V_FLAG_NO_CHECK_TIME);
    facts.hasKnownRoot = X509_verify_cert(store) == 1;
    facts.distrust = QString::fromUtf8(X509_verify_cert_error_string(X509_STORE_CTX_get_error(store)));
    X509_STORE_CTX_free(store);
}

QString acceptedOldVersion(const QString& host, quint16 port) {
    const Socket socket(host, port);
    const Owned<SSL_CTX> context(SSL_CTX_new(TLS_client_method()));
    // Debian's library would not offer them.
    SSL_CTX_set_cipher_list(context.get(), "ALL:@SECLEVEL=0");
    SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
    const auto ssl = socket.descriptor() < 0 ? nullptr : connected(context.get(), socket, host);
    return ssl ? QString::fromUtf8(SSL_get_version(ssl.get())) : QString();
}

} // namespace

TlsResult probeTls(const QString& host, quint16 port) {
    const Socket socket(host, port);
    if (socket.descriptor() < 0) {
        return {};
    }
    const Owned<SSL_CTX> context(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_default_verify_paths(context.get());
    SSL_CTX_set_security_level(context.get(), 0); // short keys are told of, not refused
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    const auto ssl = connected(context.get(), socket, host);
    ERR_clear_error();
    const QString old = acceptedOldVersion(host, port);
    ERR_clear_error();
    if (!ssl) {
        return {std::nullopt, !old.isEmpty()};
    }
    TlsFacts facts;
    facts.host = host;
    facts.version = QString::fromUtf8(SSL_get_version(ssl.get()));
    facts.oldVersion = old;
    STACK_OF(X509)* const chain = SSL_get_peer_cert_chain(ssl.get());
    if (chain == nullptr || sk_X509_num(chain) == 0) {
        return {};
    }
    judgeCertificate(facts, sk_X509_value(chain, 0));
    judgeChain(facts, context.get(), chain);
    return {facts, false};
}

} // namespace portal::check
