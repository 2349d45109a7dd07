// tarn::security::ISecurityToken: who sent a request. The server makes one,
// unauthenticated, for each request and hands it to the adapter;
// AuthenticationHelper::authenticateRequest fills it when the credentials are
// good, and the object manager reads it to authorise each operation.
#pragma once

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace tarn::security {

class ISecurityToken {
  public:
    virtual ~ISecurityToken();

    virtual bool isAuthenticated() const = 0;
    // Empty until authenticated.
    virtual VELString getUserName() const = 0;
    // The roles of the user ("reader", "writer", "admin"); a copy, never null.
    virtual VELSmrPtr<VELValSlist<VELString>> getRoles() const = 0;
    // The mechanism that authenticated the user ("Basic"); empty until then.
    virtual VELString getAuthenticationMechanism() const = 0;
    // Records a successful authentication.
    virtual void setAuthenticated(const VELString& userName, const VELValSlist<VELString>& roles,
                                  const VELString& mechanism) = 0;
};

}  // namespace tarn::security
