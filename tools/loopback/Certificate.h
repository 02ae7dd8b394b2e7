#pragma once

#include <chrono>
#include <memory>
#include <string>

// Certificates made on the spot, so that no key lies anywhere and none expires.
namespace loopback {

// A certificate and its private key, as PEM. Behind the certificate those may stand that lead to its authority.
struct TlsIdentity {
    std::string certificate;
    std::string key;
};

inline constexpr const char* kLoopbackNames = "IP:127.0.0.1,DNS:localhost";

// A certificate that is its own issuer, made anew, valid for an hour.
// `names` is a list of the certificate's names in the notation of OpenSSL, such as "IP:127.0.0.1,DNS:localhost".
// Throws std::runtime_error when the library refuses them.
TlsIdentity makeSelfSignedIdentity(const std::string& names = kLoopbackNames);

struct Validity {
    std::chrono::hours begin = std::chrono::hours(-1); // from now
    std::chrono::hours end = std::chrono::hours(24 * 90);
};

// An authority with one intermediate certificate, as public ones have. Its functions throw std::runtime_error.
class Authority {
public:
    Authority();
    ~Authority();
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    // What a client trusts, as PEM.
    std::string certificate() const;
    // Signed by the intermediate, whose certificate stands behind it unless it is left out.
    TlsIdentity identity(const std::string& names = kLoopbackNames, const Validity& validity = {},
                         bool withIntermediate = true) const;

private:
    struct Keys;
    std::unique_ptr<Keys> keys_;
};

} // namespace loopback
