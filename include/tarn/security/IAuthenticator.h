// tarn::security::IAuthenticator: checks a user name and password. The server
// installs its users file as the authenticator of AuthenticationHelper; with
// none installed every authentication fails.
#pragma once

#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace tarn::security {

class IAuthenticator {
  public:
    enum Result { OK, UNKNOWN_USER, WRONG_PASSWORD, UNAVAILABLE };

    virtual ~IAuthenticator();
    // OK and the user's roles when the password is the user's. Thread-safe.
    virtual Result verify(const VELString& userName, const VELString& password,
                          VELValSlist<VELString>& roles) = 0;
};

}  // namespace tarn::security
