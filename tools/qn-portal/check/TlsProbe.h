#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <optional>

// What a server shows of itself when TLS begins. It is asked directly, beside the transfer: a transfer tells only that
// the certificate was no good, and stops at the first reason.
namespace portal::check {

struct TlsFacts {
    QString host;
    QStringList names;  // the certificate's
    QString subject;    // of the certificate
    QString lastIssuer; // of the last certificate sent
    qsizetype chainLength = 0;
    bool isSelfSigned = false;
    bool hasKnownRoot = false; // the chain leads to an authority that this machine trusts
    QString distrust;          // OpenSSL's words when it does not
    bool isForHost = false;
    QDateTime validFrom;
    QDateTime validUntil;
    int keyBits = 0;
    bool isEllipticKey = false;
    QString version;    // "TLSv1.3"
    QString oldVersion; // one before 1.2 that is accepted too; empty when none is
};

struct TlsResult {
    std::optional<TlsFacts> facts; // absent when nobody can be asked: the transfer tells why
    bool isTooOld = false;         // then: the server speaks no TLS from 1.2 on
};

// Blocks; at most some seconds for each of its two connections. Authorities are those of the system, or of
// SSL_CERT_FILE.
TlsResult probeTls(const QString& host, quint16 port);

} // namespace portal::check
