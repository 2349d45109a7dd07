// tarn::PasswordHash: salted, deliberately slow password hashes (PBKDF2 with
// HMAC-SHA-256 from OpenSSL), stored as text:
//
//   pbkdf2-sha256$<iterations>$<salt, base64>$<hash, base64>
//
// The salt is 16 random bytes, the hash 32 bytes. Verification reads the
// iteration count from the stored text, so a later change of the default
// leaves existing hashes valid.
#pragma once

#include <cstdint>

#include "vela/VELString.h"

namespace tarn {

class PasswordHash {
  public:
    static constexpr std::uint32_t DEFAULT_ITERATIONS = 600000;
    // Stored counts outside these bounds are refused as malformed.
    static constexpr std::uint32_t MIN_ITERATIONS = 1000;
    static constexpr std::uint32_t MAX_ITERATIONS = 10000000;

    // Throws VelaBaseException when the random source or the hash fails.
    static VELString hash(const VELString& password, std::uint32_t iterations = DEFAULT_ITERATIONS);
    // True when password matches; false also for a malformed stored hash.
    // The comparison takes the same time wherever the first difference is.
    static bool verify(const VELString& password, const VELString& stored);
    static bool isWellFormed(const VELString& stored);
    // A random password of letters and digits (about 5.8 bits of entropy per character).
    static VELString randomPassword(std::size_t length = 24);
};

}  // namespace tarn
