#include "tests/support/TestCertificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

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

void describe(X509* certificate, const std::string& names) {
    X509_set_version(certificate, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    // A little in the past, for clocks that are read twice.
    X509_gmtime_adj(X509_getm_notBefore(certificate), -60);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    auto* name = X509_get_subject_name(certificate);
    const std::string common = "loopback test";
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(common.data()),
                               static_cast<int>(common.size()), -1, 0);
    X509_set_issuer_name(certificate, name);
    addExtension(certificate, NID_subject_alt_name, names);
    addExtension(certificate, NID_basic_constraints, "critical,CA:TRUE");
}

} // namespace

TlsIdentity makeSelfSignedIdentity(const std::string& names) {
    const Owned<EVP_PKEY> key(EVP_EC_gen("P-256"));
    const Owned<X509> certificate(X509_new());
    require(key && certificate);
    describe(certificate.get(), names);
    require(X509_set_pubkey(certificate.get(), key.get()) == 1);
    require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);

    const Owned<BIO> certificateText(BIO_new(BIO_s_mem()));
    const Owned<BIO> keyText(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(certificateText.get(), certificate.get()) == 1);
    require(PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
    return {textOf(certificateText.get()), textOf(keyText.get())};
}

} // namespace loopback
