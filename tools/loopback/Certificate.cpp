#include "tools/loopback/Certificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <memory>
#include <stdexcept>

namespace loopback {

namespace {

struct Free {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
template <typename Object>
using Owned = std::unique_ptr<Object, Free>;

void require(bool condition) {
    if (!condition) {
        throw std::runtime_error("cannot make a certificate");
    }
}

std::string textOf(BIO* bio) {
    char* bytes = nullptr;
    const auto length = BIO_get_mem_data(bio, &bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

void addExtension(X509* certificate, int kind, const std::string& value) {
    const Owned<X509_EXTENSION> extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Owned<EVP_PKEY> newKey() {
    Owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    return key;
}

template <typename Writer>
std::string written(const Writer& write) {
    const Owned<BIO> bio(BIO_new(BIO_s_mem()));
    require(write(bio.get()) == 1);
    return textOf(bio.get());
}

std::string textOf(X509* certificate) {
    return written([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate); });
}

std::string textOf(EVP_PKEY* key) {
    return written([&](BIO* bio) { return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr); });
}

// What a certificate says, without its signature.
struct Saying {
    std::string name;
    std::string names; // empty for an authority
    bool isAuthority = false;
    std::chrono::seconds begin{0};
    std::chrono::seconds end{0};
};

// Without an issuer it signs itself.
Owned<X509> signedCertificate(const Saying& saying, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey) {
    Owned<X509> certificate(X509_new());
    require(certificate != nullptr);
    static std::atomic<long> serial = 1;
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), saying.begin.count());
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), saying.end.count());
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(saying.name.data()),
                               static_cast<int>(saying.name.size()), -1, 0);
    X509_set_issuer_name(certificate.get(), issuer == nullptr ? name : X509_get_subject_name(issuer));
    if (!saying.names.empty()) {
        addExtension(certificate.get(), NID_subject_alt_name, saying.names);
    }
    if (saying.isAuthority) {
        addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    }
    require(X509_set_pubkey(certificate.get(), key) == 1);
    require(X509_sign(certificate.get(), issuerKey == nullptr ? key : issuerKey, EVP_sha256()) > 0);
    return certificate;
}

} // namespace

TlsIdentity makeSelfSignedIdentity(const std::string& names) {
    using namespace std::chrono_literals;
    const auto key = newKey();
    // A little in the past, for clocks that are read twice.
    const auto certificate = signedCertificate({"loopback test", names, true, -60s, 1h}, key.get(), nullptr, nullptr);
    return {textOf(certificate.get()), textOf(key.get())};
}

struct Authority::Keys {
    Owned<EVP_PKEY> rootKey = newKey();
    Owned<EVP_PKEY> middleKey = newKey();
    Owned<X509> root;
    Owned<X509> middle;
};

Authority::Authority() : keys_(std::make_unique<Keys>()) {
    using namespace std::chrono_literals;
    constexpr auto kLong = 24h * 365 * 5;
    keys_->root =
        signedCertificate({"Portal in a box", {}, true, -kLong, kLong}, keys_->rootKey.get(), nullptr, nullptr);
    keys_->middle = signedCertificate({"Portal in a box, intermediate", {}, true, -kLong, kLong},
                                      keys_->middleKey.get(), keys_->root.get(), keys_->rootKey.get());
}

Authority::~Authority() = default;

std::string Authority::certificate() const {
    return textOf(keys_->root.get());
}

TlsIdentity Authority::identity(const std::string& names, const Validity& validity, bool withIntermediate) const {
    const auto key = newKey();
    const auto certificate = signedCertificate({"portal", names, false, validity.begin, validity.end}, key.get(),
                                               keys_->middle.get(), keys_->middleKey.get());
    return {textOf(certificate.get()) + (withIntermediate ? textOf(keys_->middle.get()) : std::string()),
            textOf(key.get())};
}

} // namespace loopback
