// tarn::TLSCertificate: the HTTPS port's key and certificate. On a first
// start without them tarnd makes a self-signed pair (an ECDSA P-256 key, a
// certificate for the host name, "localhost", 127.0.0.1 and ::1, valid 825
// days) with the OpenSSL API.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <memory>

#include "vela/VELString.h"

namespace tarn {

class TLSCertificate {
  public:
    // Writes the key (mode 0600, created anew) and the certificate as PEM.
    // Throws VelaBaseException ("Security") when either cannot be made.
    static void generateSelfSigned(const VELString& certificatePath, const VELString& keyPath,
                                   const VELString& hostName);
    // The SHA-256 fingerprint of the PEM certificate, "AB:CD:...".
    static VELString fingerprint(const VELString& certificatePath);
    // A server context with the certificate (chain) and key: TLS 1.2 at
    // least, OpenSSL's default ciphers. Throws VelaBaseException when the
    // files cannot be used or do not match.
    static std::shared_ptr<boost::asio::ssl::context> makeServerContext(
        const VELString& certificatePath, const VELString& keyPath);
};

}  // namespace tarn
