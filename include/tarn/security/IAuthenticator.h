// tarn::security::IAuthenticator: checks a user name and password. The server
// installs its users file as the authenticator of AuthenticationHelper; with
// none installed every authentication fails.
#pragma once

#include <cstdint>

#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace tarn::security {

class IAuthenticator {
  public:
    // THROTTLED: not checked, too many logins failed lately (from the
    // client's address or for the user); BUSY: not checked, too many logins
    // are being checked at the moment.
    enum Result { OK, UNKNOWN_USER, WRONG_PASSWORD, UNAVAILABLE, THROTTLED, BUSY };

    virtual ~IAuthenticator();
    // OK and the user's roles when the password is the user's. Thread-safe.
    virtual Result verify(const VELString& userName, const VELString& password,
                          VELValSlist<VELString>& roles) = 0;
    // The same for a login from clientAddress (numeric). When the result is
    // THROTTLED or BUSY, retryAfterSeconds tells when to try again. Without
    // an override, the address is not looked at.
    virtual Result verifyFrom(const VELString& clientAddress, const VELString& userName,
                              const VELString& password, VELValSlist<VELString>& roles,
                              std::uint32_t& retryAfterSeconds) {
        (void)clientAddress;
        retryAfterSeconds = 0;
        return verify(userName, password, roles);
    }
};

}  // namespace tarn::security
