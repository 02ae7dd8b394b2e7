#pragma once

#include <string>

namespace loopback {

// A certificate and its private key, as PEM.
struct TlsIdentity {
    std::string certificate;
    std::string key;
};

// A certificate that is its own issuer, made anew, valid for an hour.
// `names` is a list of the certificate's names in the notation of OpenSSL, such as "IP:127.0.0.1,DNS:localhost".
// Throws std::runtime_error when the library refuses them.
TlsIdentity makeSelfSignedIdentity(const std::string& names = "IP:127.0.0.1,DNS:localhost");

} // namespace loopback
