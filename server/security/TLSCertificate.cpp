#include "security/TLSCertificate.h"

#include <fcntl.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::TLSCertificate";

[[noreturn]] void fail(const char* where, const VELString& why) {
    unsigned long code = ERR_get_error();
    VELString detail;
    if (code != 0) {
        char text[256];
        ERR_error_string_n(code, text, sizeof text);
        detail = VELString(" (") + text + ")";
    }
    ERR_clear_error();
    throw VelaBaseException("Security", WHO, where, why + detail, CIM_ERR_FAILED);
}

struct Deleter {
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(X509* p) const { X509_free(p); }
    void operator()(X509_EXTENSION* p) const { X509_EXTENSION_free(p); }
    void operator()(BIGNUM* p) const { BN_free(p); }
    void operator()(std::FILE* f) const { std::fclose(f); }
};
template <class T>
using Ptr = std::unique_ptr<T, Deleter>;

void addExtension(X509* cert, int nid, const char* value) {
    X509V3_CTX ctx;
    X509V3_set_ctx_nodb(&ctx);
    X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
    Ptr<X509_EXTENSION> ext(X509V3_EXT_conf_nid(nullptr, &ctx, nid, value));
    if (!ext || X509_add_ext(cert, ext.get(), -1) != 1) {
        fail("generateSelfSigned", VELString("cannot add certificate extension ") + value);
    }
}

// A DNS name that can go into a subjectAltName list as it is.
bool isPlainDnsName(const VELString& name) {
    if (name.isNull() || name.length() > 253) {
        return false;
    }
    for (char c : name.view()) {
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
              c == '.' || c == '-')) {
            return false;
        }
    }
    return true;
}

}  // namespace

void TLSCertificate::generateSelfSigned(const VELString& certificatePath, const VELString& keyPath,
                                        const VELString& hostName) {
    Ptr<EVP_PKEY> key(EVP_EC_gen("P-256"));
    if (!key) {
        fail("generateSelfSigned", "cannot generate a key");
    }
    Ptr<X509> cert(X509_new());
    if (!cert || X509_set_version(cert.get(), 2) != 1) {
        fail("generateSelfSigned", "cannot make a certificate");
    }
    unsigned char serial[16];
    if (RAND_bytes(serial, sizeof serial) != 1) {
        fail("generateSelfSigned", "no random bytes for a serial number");
    }
    serial[0] &= 0x7f;  // positive
    Ptr<BIGNUM> bn(BN_bin2bn(serial, sizeof serial, nullptr));
    if (!bn || !BN_to_ASN1_INTEGER(bn.get(), X509_get_serialNumber(cert.get()))) {
        fail("generateSelfSigned", "cannot set the serial number");
    }
    X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert.get()), 825L * 24 * 3600);
    X509_NAME* name = X509_get_subject_name(cert.get());
    VELString commonName =
        isPlainDnsName(hostName) && hostName.length() <= 64 ? hostName : "localhost";
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("TARN"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1,
                               0);
    X509_set_issuer_name(cert.get(), name);
    if (X509_set_pubkey(cert.get(), key.get()) != 1) {
        fail("generateSelfSigned", "cannot set the public key");
    }
    VELString altNames = "DNS:localhost,IP:127.0.0.1,IP:::1";
    if (isPlainDnsName(hostName) && !hostName.equalsIgnoreCase("localhost")) {
        altNames = "DNS:" + hostName + "," + altNames;
    }
    addExtension(cert.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(cert.get(), NID_key_usage, "critical,digitalSignature,keyEncipherment");
    addExtension(cert.get(), NID_ext_key_usage, "serverAuth");
    addExtension(cert.get(), NID_subject_key_identifier, "hash");
    addExtension(cert.get(), NID_subject_alt_name, altNames.c_str());
    if (X509_sign(cert.get(), key.get(), EVP_sha256()) == 0) {
        fail("generateSelfSigned", "cannot sign the certificate");
    }

    int fd = ::open(keyPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) {
        fail("generateSelfSigned", "cannot create key file '" + keyPath + "'");
    }
    ::fchmod(fd, 0600);
    Ptr<std::FILE> keyFile(::fdopen(fd, "w"));
    if (!keyFile) {
        ::close(fd);
        fail("generateSelfSigned", "cannot write key file '" + keyPath + "'");
    }
    if (PEM_write_PrivateKey(keyFile.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) !=
            1 ||
        std::fflush(keyFile.get()) != 0) {
        fail("generateSelfSigned", "cannot write key file '" + keyPath + "'");
    }
    Ptr<std::FILE> certFile(std::fopen(certificatePath.c_str(), "w"));
    if (!certFile || PEM_write_X509(certFile.get(), cert.get()) != 1 ||
        std::fflush(certFile.get()) != 0) {
        fail("generateSelfSigned", "cannot write certificate file '" + certificatePath + "'");
    }
}

VELString TLSCertificate::fingerprint(const VELString& certificatePath) {
    Ptr<std::FILE> f(std::fopen(certificatePath.c_str(), "r"));
    if (!f) {
        fail("fingerprint", "cannot read certificate '" + certificatePath + "'");
    }
    Ptr<X509> cert(PEM_read_X509(f.get(), nullptr, nullptr, nullptr));
    if (!cert) {
        fail("fingerprint", "no PEM certificate in '" + certificatePath + "'");
    }
    unsigned char md[EVP_MAX_MD_SIZE];
    unsigned int n = 0;
    if (X509_digest(cert.get(), EVP_sha256(), md, &n) != 1) {
        fail("fingerprint", "cannot digest the certificate");
    }
    VELString out;
    char hex[4];
    for (unsigned int i = 0; i < n; ++i) {
        std::snprintf(hex, sizeof hex, i ? ":%02X" : "%02X", md[i]);
        out += hex;
    }
    return out;
}

std::shared_ptr<boost::asio::ssl::context> TLSCertificate::makeServerContext(
    const VELString& certificatePath, const VELString& keyPath) {
    namespace ssl = boost::asio::ssl;
    auto ctx = std::make_shared<ssl::context>(ssl::context::tls_server);
    SSL_CTX_set_min_proto_version(ctx->native_handle(), TLS1_2_VERSION);
    ctx->set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 |
                     ssl::context::no_sslv3 | ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1 |
                     ssl::context::single_dh_use);
    // TLS 1.2 with forward secrecy and authenticated encryption only (TLS
    // 1.3 has nothing else): no CBC suites, whose padding checks have leaked
    // plaintext time and again.
    if (SSL_CTX_set_cipher_list(ctx->native_handle(),
                                "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
                                "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384:"
                                "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305") != 1) {
        fail("makeServerContext", "OpenSSL offers none of the TLS 1.2 cipher suites wanted");
    }
    boost::system::error_code ec;
    ctx->use_certificate_chain_file(certificatePath.str(), ec);
    if (ec) {
        fail("makeServerContext",
             "cannot use certificate '" + certificatePath + "': " + VELString(ec.message()));
    }
    ctx->use_private_key_file(keyPath.str(), ssl::context::pem, ec);
    if (ec) {
        fail("makeServerContext", "cannot use key '" + keyPath + "': " + VELString(ec.message()));
    }
    if (SSL_CTX_check_private_key(ctx->native_handle()) != 1) {
        fail("makeServerContext",
             "key '" + keyPath + "' does not match certificate '" + certificatePath + "'");
    }
    return ctx;
}

}  // namespace tarn
