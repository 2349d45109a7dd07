#include "security/PasswordHash.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <string>
#include <vector>

#include "tarn/CIMStatus.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::PasswordHash";
const char* const SCHEME = "pbkdf2-sha256";
constexpr std::size_t kSaltBytes = 16;
constexpr std::size_t kHashBytes = 32;

std::string encode64(const unsigned char* data, std::size_t n) {
    std::string out(4 * ((n + 2) / 3) + 1, '\0');
    int len =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()), data, static_cast<int>(n));
    out.resize(static_cast<std::size_t>(len));
    return out;
}

bool decode64(std::string_view text, std::size_t expected, std::vector<unsigned char>& out) {
    if (text.empty() || text.size() % 4 != 0 || text.size() > 1024) {
        return false;
    }
    out.assign(3 * text.size() / 4, 0);
    int len = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                              static_cast<int>(text.size()));
    if (len < 0) {
        return false;
    }
    std::size_t padding = 0;
    if (text.back() == '=') {
        ++padding;
        if (text[text.size() - 2] == '=') {
            ++padding;
        }
    }
    out.resize(static_cast<std::size_t>(len) - padding);
    return out.size() == expected;
}

struct Parsed {
    std::uint32_t iterations = 0;
    std::vector<unsigned char> salt;
    std::vector<unsigned char> hash;
};

bool parse(const VELString& stored, Parsed& p) {
    std::string_view s = stored.view();
    std::vector<std::string_view> parts;
    while (true) {
        std::size_t d = s.find('$');
        parts.push_back(s.substr(0, d));
        if (d == std::string_view::npos) {
            break;
        }
        s.remove_prefix(d + 1);
    }
    if (parts.size() != 4 || parts[0] != SCHEME) {
        return false;
    }
    if (!TARNConfigManager::parseUint32(VELString(parts[1]), p.iterations) ||
        p.iterations < PasswordHash::MIN_ITERATIONS ||
        p.iterations > PasswordHash::MAX_ITERATIONS) {
        return false;
    }
    return decode64(parts[2], kSaltBytes, p.salt) && decode64(parts[3], kHashBytes, p.hash);
}

bool derive(const VELString& password, const std::vector<unsigned char>& salt,
            std::uint32_t iterations, unsigned char* out) {
    return PKCS5_PBKDF2_HMAC(password.c_str(), static_cast<int>(password.length()), salt.data(),
                             static_cast<int>(salt.size()), static_cast<int>(iterations),
                             EVP_sha256(), static_cast<int>(kHashBytes), out) == 1;
}

}  // namespace

VELString PasswordHash::hash(const VELString& password, std::uint32_t iterations) {
    std::vector<unsigned char> salt(kSaltBytes);
    if (RAND_bytes(salt.data(), static_cast<int>(salt.size())) != 1) {
        throw VelaBaseException("Security", WHO, "hash", "no random bytes for a salt",
                                CIM_ERR_FAILED);
    }
    unsigned char out[kHashBytes];
    if (!derive(password, salt, iterations, out)) {
        throw VelaBaseException("Security", WHO, "hash", "PBKDF2 failed", CIM_ERR_FAILED);
    }
    std::string text = std::string(SCHEME) + "$" + std::to_string(iterations) + "$" +
                       encode64(salt.data(), salt.size()) + "$" + encode64(out, kHashBytes);
    OPENSSL_cleanse(out, sizeof out);
    return VELString(std::move(text));
}

bool PasswordHash::verify(const VELString& password, const VELString& stored) {
    Parsed p;
    if (!parse(stored, p)) {
        return false;
    }
    unsigned char out[kHashBytes];
    if (!derive(password, p.salt, p.iterations, out)) {
        return false;
    }
    bool same = CRYPTO_memcmp(out, p.hash.data(), kHashBytes) == 0;
    OPENSSL_cleanse(out, sizeof out);
    return same;
}

bool PasswordHash::isWellFormed(const VELString& stored) {
    Parsed p;
    return parse(stored, p);
}

VELString PasswordHash::randomPassword(std::size_t length) {
    static const char kAlphabet[] = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789";
    constexpr unsigned kSize = sizeof kAlphabet - 1;  // 57
    VELString out;
    while (out.length() < length) {
        unsigned char bytes[64];
        if (RAND_bytes(bytes, sizeof bytes) != 1) {
            throw VelaBaseException("Security", WHO, "randomPassword", "no random bytes",
                                    CIM_ERR_FAILED);
        }
        for (unsigned char b : bytes) {
            // Rejection sampling keeps every character equally likely.
            if (b < 256 - 256 % kSize && out.length() < length) {
                out += kAlphabet[b % kSize];
            }
        }
    }
    return out;
}

}  // namespace tarn
