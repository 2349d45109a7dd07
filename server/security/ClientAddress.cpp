#include "security/ClientAddress.h"

#include <arpa/inet.h>

#include <cstdio>
#include <cstring>

namespace tarn {

std::string clientKey(std::string_view address) {
    std::string text(address.substr(0, 64));
    in6_addr v6{};
    if (::inet_pton(AF_INET6, text.c_str(), &v6) != 1) {
        return text;
    }
    const unsigned char* b = v6.s6_addr;
    static const unsigned char kMapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
    char out[64];
    if (std::memcmp(b, kMapped, sizeof kMapped) == 0) {
        std::snprintf(out, sizeof out, "%u.%u.%u.%u", b[12], b[13], b[14], b[15]);
    } else {
        std::snprintf(out, sizeof out, "%02x%02x:%02x%02x:%02x%02x:%02x%02x::/64", b[0], b[1], b[2],
                      b[3], b[4], b[5], b[6], b[7]);
    }
    return out;
}

}  // namespace tarn
